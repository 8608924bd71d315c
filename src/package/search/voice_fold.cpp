#include "package/search/voice_fold.h"

#include <utf8proc.h>

#include <cstdint>
#include <string_view>

#include "package/search/voice_numbers.h"

namespace Sonvik::search {
namespace {

constexpr utf8proc_option_t kFoldOptions =
    static_cast<utf8proc_option_t>(UTF8PROC_DECOMPOSE | UTF8PROC_COMPAT | UTF8PROC_CASEFOLD |
                                   UTF8PROC_STRIPMARK | UTF8PROC_IGNORE);

// Latin letters (already case folded) that have no decomposition to a plain letter.
std::string_view Transliterate(int32_t cp) {
  switch (cp) {
    case 0x00F8:
      return "o";  // ø
    case 0x00E6:
      return "ae";  // æ
    case 0x0153:
      return "oe";  // œ
    case 0x00DF:
      return "ss";  // ß (case folding already gives ss; kept for clarity)
    case 0x0111:
      return "d";  // đ
    case 0x00F0:
      return "d";  // ð
    case 0x0142:
      return "l";  // ł
    case 0x00FE:
      return "th";  // þ
    case 0x0131:
      return "i";  // ı
    case 0x0127:
      return "h";  // ħ
    case 0x0167:
      return "t";  // ŧ
    case 0x014B:
      return "n";  // ŋ
    case 0x0180:
      return "b";  // ƀ
    case 0x0192:
      return "f";  // ƒ
    case 0x01B6:
      return "z";  // ƶ
    case 0x0256:
      return "d";  // ɖ
    case 0x0138:
      return "k";  // ĸ
    default:
      return {};
  }
}

// Modifier letters that tags use as apostrophes ("donʼt"): separators, not letters.
bool IsApostropheLetter(int32_t cp) {
  return cp == 0x02BC || cp == 0x02BB || cp == 0x02B9 || cp == 0x02BE || cp == 0x02BF;
}

class Tokenizer {
 public:
  void Letter(std::string_view utf8, int letters) {
    current_ += utf8;
    code_points_ += letters;
  }
  void Digit(std::string_view utf8) {
    current_ += utf8;
    code_points_ += 1;
    has_digit_ = true;
  }
  void Break() {
    if (current_.empty()) return;
    tokens_.push_back(std::move(current_));
    single_letter_.push_back(code_points_ == 1 && !has_digit_);
    current_.clear();
    code_points_ = 0;
    has_digit_ = false;
  }
  void And() {
    Break();
    current_ = "and";
    code_points_ = 3;
    Break();
  }

  // Joins runs of two or more one-letter tokens into one spelled word.
  std::vector<std::string> Finish() {
    Break();
    std::vector<std::string> joined;
    joined.reserve(tokens_.size());
    for (size_t i = 0; i < tokens_.size();) {
      size_t end = i;
      while (end < tokens_.size() && single_letter_[end]) ++end;
      if (end - i >= 2) {
        std::string word;
        for (size_t j = i; j < end; ++j) word += tokens_[j];
        joined.push_back(std::move(word));
        i = end;
      } else {
        joined.push_back(std::move(tokens_[i]));
        ++i;
      }
    }
    return joined;
  }

 private:
  std::vector<std::string> tokens_;
  std::vector<bool> single_letter_;
  std::string current_;
  int code_points_ = 0;
  bool has_digit_ = false;
};

void FoldCodePoint(int32_t cp, Tokenizer& tokenizer) {
  if (cp == '&' || cp == '+') return tokenizer.And();
  if (IsApostropheLetter(cp)) return tokenizer.Break();
  if (std::string_view latin = Transliterate(cp); !latin.empty()) {
    return tokenizer.Letter(latin, static_cast<int>(latin.size()));
  }
  uint8_t utf8[4];
  const auto length = utf8proc_encode_char(cp, utf8);
  const std::string_view bytes(reinterpret_cast<const char*>(utf8), static_cast<size_t>(length));
  switch (utf8proc_category(cp)) {
    case UTF8PROC_CATEGORY_LU:
    case UTF8PROC_CATEGORY_LL:
    case UTF8PROC_CATEGORY_LT:
    case UTF8PROC_CATEGORY_LM:
    case UTF8PROC_CATEGORY_LO:
      return tokenizer.Letter(bytes, 1);
    case UTF8PROC_CATEGORY_ND:
      return tokenizer.Digit(bytes);
    default:
      return tokenizer.Break();
  }
}

}  // namespace

std::vector<std::string> VoiceFold(std::string_view text) {
  Tokenizer tokenizer;
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  size_t pos = 0;
  while (pos < text.size()) {
    const unsigned char c = bytes[pos];
    if (c < 0x80) {  // ASCII needs no table lookups
      if (c >= 'A' && c <= 'Z') {
        const char lower = static_cast<char>(c - 'A' + 'a');
        tokenizer.Letter(std::string_view(&lower, 1), 1);
      } else if (c >= 'a' && c <= 'z') {
        tokenizer.Letter(std::string_view(text.data() + pos, 1), 1);
      } else if (c >= '0' && c <= '9') {
        tokenizer.Digit(std::string_view(text.data() + pos, 1));
      } else if (c == '&' || c == '+') {
        tokenizer.And();
      } else {
        tokenizer.Break();
      }
      ++pos;
      continue;
    }
    utf8proc_int32_t cp = 0;
    const utf8proc_ssize_t length =
        utf8proc_iterate(bytes + pos, static_cast<utf8proc_ssize_t>(text.size() - pos), &cp);
    if (length <= 0) {  // an invalid byte separates like punctuation
      tokenizer.Break();
      ++pos;
      continue;
    }
    pos += static_cast<size_t>(length);
    utf8proc_int32_t decomposed[32];
    const utf8proc_ssize_t count =
        utf8proc_decompose_char(cp, decomposed, 32, kFoldOptions, nullptr);
    if (count < 0 || count > 32) {
      tokenizer.Break();
      continue;
    }
    for (utf8proc_ssize_t i = 0; i < count; ++i) FoldCodePoint(decomposed[i], tokenizer);
  }
  std::vector<std::string> tokens = tokenizer.Finish();
  FoldNumbers(tokens);
  return tokens;
}

std::string JoinTokens(const std::vector<std::string>& tokens) {
  std::string joined;
  for (const std::string& token : tokens) joined += token;
  return joined;
}

bool MatchesFoldedTag(std::string_view joined_keyword, const std::vector<std::string>& tag_tokens) {
  if (joined_keyword.empty()) return false;
  for (size_t start = 0; start < tag_tokens.size(); ++start) {
    std::string_view rest = joined_keyword;
    for (size_t i = start; i < tag_tokens.size(); ++i) {
      if (!rest.starts_with(tag_tokens[i])) break;
      rest.remove_prefix(tag_tokens[i].size());
      if (rest.empty()) return true;
    }
  }
  return false;
}

bool VoiceMatches(std::string_view keyword, std::string_view tag) {
  return MatchesFoldedTag(JoinTokens(VoiceFold(keyword)), VoiceFold(tag));
}

}  // namespace Sonvik::search
