#pragma once
// The voice-matching index of the track search engine, kept in the library database beside the
// tracks table. The scanner and the library call these inside their own transactions, so the
// index never disagrees with the tracks.
#include <cstdint>
#include <string>

struct sqlite3;

namespace Sonvik::search {

// Creates the index's tables when missing; called by the library database's schema migration.
// Throws sqlite::Error.
void CreateSearchIndexSchema(sqlite3* db);
// (Re)indexes one track's title, album and artist under its id. The track's row must already be
// in the tracks table: its library, disc and track number are read from there. Throws
// sqlite::Error, or std::runtime_error (changing nothing) when the row is missing.
void IndexTrack(sqlite3* db, int64_t track_id, const std::string& title, const std::string& album,
                const std::string& artist);
// Removes a track from the index; a track that was never indexed is left alone. Needs nothing
// from the tracks table, so it may run before or after the row is deleted. Throws sqlite::Error.
void UnindexTrack(sqlite3* db, int64_t track_id);

}  // namespace Sonvik::search
