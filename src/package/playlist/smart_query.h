#pragma once
// Evaluating a smart playlist against a user's view of the library, in SQL: number fields and
// path prefixes use the tracks table's indexes, voice-folded text goes through
// sonvik_voice_match.
#include <json/value.h>

#include <cstdint>
#include <vector>

#include "package/playlist/smart_rules.h"
#include "package/playlist/track_objects.h"

struct sqlite3;

namespace Sonvik::playlist {

// Appends the track objects of the page [offset, offset + limit) of the playlist's tracks to
// `tracks` (a JSON array) and answers how many tracks the playlist holds for user `uid`.
// Throws sqlite::Error.
int64_t EvaluateSmartPlaylist(sqlite3* db, const SmartPlaylist& playlist, unsigned uid,
                              int64_t offset, int64_t limit, TrackObjectParts parts,
                              Json::Value& tracks);

}  // namespace Sonvik::playlist
