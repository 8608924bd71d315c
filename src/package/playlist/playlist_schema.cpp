#include "package/playlist/playlist_schema.h"

#include "package/sqlite/error.h"

#include <sqlite3.h>

#include <string>

namespace Sonvik::playlist {

void CreatePlaylistTables(sqlite3* db) {
  char* message = nullptr;
  const int rc = sqlite3_exec(db, R"sql(
    CREATE TABLE playlists (
      id INTEGER PRIMARY KEY,
      owner_uid INTEGER NOT NULL DEFAULT 0,
      name TEXT NOT NULL,
      source_file_id INTEGER UNIQUE REFERENCES playlist_files (id) ON DELETE CASCADE,
      source_size INTEGER NOT NULL DEFAULT 0,
      source_mtime_ns INTEGER NOT NULL DEFAULT 0,
      UNIQUE (owner_uid, name)
    );
    CREATE TABLE playlist_items (
      playlist_id INTEGER NOT NULL REFERENCES playlists (id) ON DELETE CASCADE,
      position INTEGER NOT NULL,
      path TEXT NOT NULL,
      virtual_index INTEGER NOT NULL DEFAULT 0,
      PRIMARY KEY (playlist_id, position)
    ) WITHOUT ROWID;
    CREATE INDEX tracks_by_year ON tracks (year);
    CREATE INDEX tracks_by_duration ON tracks (duration_ms);
  )sql",
                              nullptr, nullptr, &message);
  if (rc != SQLITE_OK) {
    std::string text = message != nullptr ? message : sqlite3_errstr(rc);
    sqlite3_free(message);
    throw sqlite::Error(rc, "playlist tables: " + text);
  }
}

}  // namespace Sonvik::playlist
