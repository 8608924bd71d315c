#pragma once
// The scanner's writes to the library database, each one prepared once and reused. Callers run
// them inside their own batch transaction; the search index is kept in step in the same one.
#include <cstdint>
#include <string>

#include "package/scanner/track_row.h"
#include "package/sqlite/statement.h"

struct sqlite3;

namespace Sonvik::scanner {

class TrackWriter {
 public:
  // Prepares the statements on `db`, which must outlive the writer. Throws sqlite::Error.
  explicit TrackWriter(sqlite3* db);

  // Inserts the row, or updates the one with the same path and virtual index in place (so its id,
  // which playlists refer to, stays), and (re)indexes it for search. Answers the track id.
  int64_t UpsertTrack(const TrackRow& row);
  // Removes a track and its search index entry.
  void DeleteTrack(int64_t id);

  void UpsertPlaylistFile(int64_t library_id, const std::string& path, int64_t size,
                          int64_t mtime_ns);
  void DeletePlaylistFile(int64_t id);

 private:
  sqlite3* db_;
  sqlite::Statement upsert_track_;
  sqlite::Statement delete_track_;
  sqlite::Statement upsert_playlist_file_;
  sqlite::Statement delete_playlist_file_;
};

}  // namespace Sonvik::scanner
