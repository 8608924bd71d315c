#include "package/search/voice_numbers.h"

#include <array>
#include <optional>
#include <string_view>

namespace Sonvik::search {
namespace {

struct NumberWord {
  std::string_view word;
  int value;
};

// Values below 20 stand alone; tens take an optional unit after them.
constexpr std::array<NumberWord, 20> kSmall = {{
    {"zero", 0},     {"one", 1},      {"two", 2},        {"three", 3},     {"four", 4},
    {"five", 5},     {"six", 6},      {"seven", 7},      {"eight", 8},     {"nine", 9},
    {"ten", 10},     {"eleven", 11},  {"twelve", 12},    {"thirteen", 13}, {"fourteen", 14},
    {"fifteen", 15}, {"sixteen", 16}, {"seventeen", 17}, {"eighteen", 18}, {"nineteen", 19},
}};
constexpr std::array<NumberWord, 8> kTens = {{
    {"twenty", 20},
    {"thirty", 30},
    {"forty", 40},
    {"fifty", 50},
    {"sixty", 60},
    {"seventy", 70},
    {"eighty", 80},
    {"ninety", 90},
}};
constexpr std::array<std::string_view, 20> kRoman = {
    "i",  "ii",  "iii",  "iv",  "v",  "vi",  "vii",  "viii",  "ix",  "x",
    "xi", "xii", "xiii", "xiv", "xv", "xvi", "xvii", "xviii", "xix", "xx"};

template <size_t N>
std::optional<int> Find(const std::array<NumberWord, N>& table, std::string_view word) {
  for (const NumberWord& entry : table) {
    if (entry.word == word) return entry.value;
  }
  return std::nullopt;
}

// A recursive-descent reader over number words. Each Read* returns the value and advances `pos`
// only when it read something.
class NumberReader {
 public:
  explicit NumberReader(const std::vector<std::string>& tokens) : tokens_(tokens) {}

  // Below a million: [below-1000] "thousand" [["and"] below-1000] | below-1000.
  std::optional<int> Read(size_t& pos) const {
    size_t at = pos;
    std::optional<int> value = ReadBelow1000(at);
    if (Is(at, "thousand")) {
      int total = value.value_or(1) * 1000;
      ++at;
      if (std::optional<int> rest = ReadTail(at, &NumberReader::ReadBelow1000)) total += *rest;
      pos = at;
      return total;
    }
    if (value) pos = at;
    return value;
  }

 private:
  bool Is(size_t pos, std::string_view word) const {
    return pos < tokens_.size() && tokens_[pos] == word;
  }

  // An optional "and" is taken only when a number follows it ("two thousand and one").
  std::optional<int> ReadTail(size_t& pos,
                              std::optional<int> (NumberReader::*read)(size_t&) const) const {
    size_t at = pos;
    if (Is(at, "and")) ++at;
    std::optional<int> value = (this->*read)(at);
    if (value) pos = at;
    return value;
  }

  // [below-100] "hundred" [["and"] below-100] | below-100.
  std::optional<int> ReadBelow1000(size_t& pos) const {
    size_t at = pos;
    std::optional<int> value = ReadBelow100(at);
    if (Is(at, "hundred")) {
      int total = value.value_or(1) * 100;
      ++at;
      if (std::optional<int> rest = ReadTail(at, &NumberReader::ReadBelow100)) total += *rest;
      pos = at;
      return total;
    }
    if (value) pos = at;
    return value;
  }

  // zero..nineteen | tens [one..nine].
  std::optional<int> ReadBelow100(size_t& pos) const {
    if (pos >= tokens_.size()) return std::nullopt;
    if (std::optional<int> small = Find(kSmall, tokens_[pos])) {
      ++pos;
      return small;
    }
    std::optional<int> tens = Find(kTens, tokens_[pos]);
    if (!tens) return std::nullopt;
    ++pos;
    if (pos < tokens_.size()) {
      std::optional<int> unit = Find(kSmall, tokens_[pos]);
      if (unit && *unit >= 1 && *unit <= 9) {
        ++pos;
        return *tens + *unit;
      }
    }
    return tens;
  }

  const std::vector<std::string>& tokens_;
};

bool IsAsciiDigits(const std::string& token) {
  if (token.empty()) return false;
  for (char c : token) {
    if (c < '0' || c > '9') return false;
  }
  return true;
}

}  // namespace

void FoldNumbers(std::vector<std::string>& tokens) {
  for (std::string& token : tokens) {
    if (token == "n") {
      token = "and";
      continue;
    }
    for (size_t i = 0; i < kRoman.size(); ++i) {
      if (token == kRoman[i]) {
        token = std::to_string(i + 1);
        break;
      }
    }
    if (IsAsciiDigits(token)) {
      const size_t first = token.find_first_not_of('0');
      token = first == std::string::npos ? "0" : token.substr(first);
    }
  }
  // Number words: each maximal reading becomes one token. Runs that cannot continue each other
  // ("nineteen seventy five") become several tokens ("19" "75"); written together they still
  // meet "1975".
  std::vector<std::string> folded;
  folded.reserve(tokens.size());
  const NumberReader reader(tokens);
  for (size_t pos = 0; pos < tokens.size();) {
    const size_t start = pos;
    if (std::optional<int> value = reader.Read(pos)) {
      folded.push_back(std::to_string(*value));
    } else {
      folded.push_back(tokens[start]);
      pos = start + 1;
    }
  }
  tokens = std::move(folded);
}

}  // namespace Sonvik::search
