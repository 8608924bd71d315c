#include "package/playlist/voice_text_match.h"

#include <sqlite3.h>

#include <memory>
#include <string>
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

void DeleteFolded(void* pointer) { delete static_cast<FoldedText*>(pointer); }

// The keyword is the same for every row of a statement: fold it once and keep it with the
// statement (SQLite drops the copy when the argument changes).
void VoiceMatchFunction(sqlite3_context* context, int, sqlite3_value** args) {
  auto* keyword = static_cast<FoldedText*>(sqlite3_get_auxdata(context, 1));
  if (keyword == nullptr) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(args[1]));
    auto folded = std::make_unique<FoldedText>(
        Fold(text != nullptr ? std::string_view(text, sqlite3_value_bytes(args[1])) : ""));
    keyword = folded.get();
    sqlite3_set_auxdata(context, 1, folded.release(), DeleteFolded);
    // SQLite may have dropped it at once; then fetch what it kept, or fold per row.
    keyword = static_cast<FoldedText*>(sqlite3_get_auxdata(context, 1));
  }
  const auto* tag_text = reinterpret_cast<const char*>(sqlite3_value_text(args[0]));
  std::string_view tag =
      tag_text != nullptr ? std::string_view(tag_text, sqlite3_value_bytes(args[0])) : "";
  const auto mode = static_cast<VoiceMatchMode>(sqlite3_value_int(args[2]));
  bool result;
  if (keyword != nullptr) {
    result = Matches(Fold(tag), *keyword, mode);
  } else {
    const auto* text = reinterpret_cast<const char*>(sqlite3_value_text(args[1]));
    result = VoiceTextMatches(tag, text != nullptr ? text : "", mode);
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
