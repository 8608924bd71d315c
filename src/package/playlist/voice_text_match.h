#pragma once
// Voice matching of a smart playlist's text rules, as SQL functions on a library connection:
//   sonvik_voice_match(tag, keyword, mode)  mode 0: same text, 1: contains, 2: starts with
// Both sides are folded the way track search folds them; "contains" and "starts with" match at
// token boundaries only ("beatles" is in "The Beatles", "hey" is not in "They").
#include <string_view>

struct sqlite3;

namespace Sonvik::playlist {

enum class VoiceMatchMode { kSame = 0, kContains = 1, kStartsWith = 2 };

// Registers the functions on `db` unless it has them already. Throws sqlite::Error.
void RegisterVoiceMatchFunctions(sqlite3* db);

// The same comparison outside SQL.
bool VoiceTextMatches(std::string_view tag, std::string_view keyword, VoiceMatchMode mode);

}  // namespace Sonvik::playlist
