#include "package/playlist/voice_text_match.h"

#include <sqlite3.h>

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "package/search/voice_fold.h"
#include "package/sqlite/error.h"

namespace Sonvik::playlist {
namespace {

// A folded text: its tokens written without separators, and where each token starts.
struct FoldedText {
  std::string joined;
  std::vector<size_t> starts;  // token starts, then joined.size()
};

FoldedText Fold(std::string_view text) {
  FoldedText folded;
  for (const std::string& token : search::VoiceFold(text)) {
    folded.starts.push_back(folded.joined.size());
    folded.joined += token;
  }
  folded.starts.push_back(folded.joined.size());
  return folded;
}

bool IsBoundary(const FoldedText& text, size_t position) {
  for (size_t start : text.starts) {
    if (start == position) return true;
    if (start > position) return false;
  }
  return false;
}

bool Matches(const FoldedText& tag, const FoldedText& keyword, VoiceMatchMode mode) {
  const std::string& k = keyword.joined;
  switch (mode) {
    case VoiceMatchMode::kSame:
      return tag.joined == k;
    case VoiceMatchMode::kStartsWith:
      return tag.joined.starts_with(k) && IsBoundary(tag, k.size());
    case VoiceMatchMode::kContains:
      if (k.empty()) return true;
      for (size_t start : tag.starts) {
        if (tag.joined.compare(start, k.size(), k) == 0 && IsBoundary(tag, start + k.size())) {
          return true;
        }
      }
      return false;
  }
  return false;
}

// What one call site of the function keeps while its keyword stays the same: the folded keyword
// and the answers per tag seen. Genres, artists and albums repeat a lot, so most rows are
// answered without folding their tag again.
struct CallSiteState {
  FoldedText keyword;
  std::unordered_map<std::string, bool> answers;
};
constexpr size_t kMaxRememberedTags = 8192;

void DeleteCallSiteState(void* pointer) { delete static_cast<CallSiteState*>(pointer); }

std::string_view TextArgument(sqlite3_value* value) {
  const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(value));
  return text != nullptr ? std::string_view(text, sqlite3_value_bytes(value)) : "";
}

void VoiceMatchFunction(sqlite3_context* context, int, sqlite3_value** args) {
  const std::string_view tag = TextArgument(args[0]);
  const auto mode = static_cast<VoiceMatchMode>(sqlite3_value_int(args[2]));
  auto* state = static_cast<CallSiteState*>(sqlite3_get_auxdata(context, 1));
  if (state == nullptr) {
    auto fresh = std::make_unique<CallSiteState>();
    fresh->keyword = Fold(TextArgument(args[1]));
    sqlite3_set_auxdata(context, 1, fresh.release(), DeleteCallSiteState);
    // SQLite may drop it at once (then this row folds everything itself).
    state = static_cast<CallSiteState*>(sqlite3_get_auxdata(context, 1));
  }
  bool result;
  if (state == nullptr) {
    result = VoiceTextMatches(tag, TextArgument(args[1]), mode);
  } else if (auto known = state->answers.find(std::string(tag)); known != state->answers.end()) {
    result = known->second;
  } else {
    result = Matches(Fold(tag), state->keyword, mode);
    if (state->answers.size() < kMaxRememberedTags) state->answers.emplace(tag, result);
  }
  sqlite3_result_int(context, result ? 1 : 0);
}

}  // namespace

bool VoiceTextMatches(std::string_view tag, std::string_view keyword, VoiceMatchMode mode) {
  return Matches(Fold(tag), Fold(keyword), mode);
}

void RegisterVoiceMatchFunctions(sqlite3* db) {
  // Replacing a function fails while statements run; most calls find it there already.
  sqlite3_stmt* probe = nullptr;
  if (sqlite3_prepare_v2(db, "SELECT sonvik_voice_match('', '', 0)", -1, &probe, nullptr) ==
      SQLITE_OK) {
    sqlite3_finalize(probe);
    return;
  }
  const int rc =
      sqlite3_create_function_v2(db, "sonvik_voice_match", 3, SQLITE_UTF8 | SQLITE_DETERMINISTIC,
                                 nullptr, VoiceMatchFunction, nullptr, nullptr, nullptr);
  if (rc != SQLITE_OK) sqlite::ThrowError(db, rc, "cannot register sonvik_voice_match");
}

}  // namespace Sonvik::playlist
