#include "package/library/schema_migrations.h"

#include <sqlite3.h>

#include <iterator>
#include <stdexcept>
#include <string>

#include "package/playlist/playlist_schema.h"
#include "package/search/search_index.h"
#include "package/sqlite/error.h"
#include "package/sqlite/transaction.h"

namespace Sonvik::library {
namespace {

void Exec(sqlite3* db, const char* sql) {
  char* message = nullptr;
  const int rc = sqlite3_exec(db, sql, nullptr, nullptr, &message);
  if (rc != SQLITE_OK) {
    std::string text = message != nullptr ? message : sqlite3_errstr(rc);
    sqlite3_free(message);
    throw sqlite::Error(rc, "schema migration: " + text);
  }
}

// Music folders. owner_uid 0 is a shared folder (several allowed, one row per path); any other
// uid is that user's personal folder (at most one per user), shown only while enabled.
// Tracks: one row per audio file (virtual_index 0) or per CUE sheet entry over a file
// (virtual_index = the entry's number, start_ms/end_ms its place, end_ms 0 = end of file).
// size and mtime_ns (nanoseconds since the epoch) tell the scanner whether a file changed; a
// virtual track also keeps its sheet's path, size and mtime, so that each row alone says whether
// it is still current.
// playlist_files remembers the .m3u/.m3u8 files seen, for the shared playlists made from them.
void CreateLibraryTables(sqlite3* db) {
  Exec(db, R"sql(
    CREATE TABLE libraries (
      id INTEGER PRIMARY KEY,
      path TEXT NOT NULL,
      owner_uid INTEGER NOT NULL DEFAULT 0,
      owner_name TEXT NOT NULL DEFAULT '',
      enabled INTEGER NOT NULL DEFAULT 1
    );
    CREATE UNIQUE INDEX libraries_shared_path ON libraries (path) WHERE owner_uid = 0;
    CREATE UNIQUE INDEX libraries_personal_owner ON libraries (owner_uid) WHERE owner_uid <> 0;

    CREATE TABLE tracks (
      id INTEGER PRIMARY KEY,
      library_id INTEGER NOT NULL REFERENCES libraries (id),
      path TEXT NOT NULL,
      virtual_index INTEGER NOT NULL DEFAULT 0,
      size INTEGER NOT NULL DEFAULT 0,
      mtime_ns INTEGER NOT NULL DEFAULT 0,
      title TEXT NOT NULL DEFAULT '',
      album TEXT NOT NULL DEFAULT '',
      artist TEXT NOT NULL DEFAULT '',
      album_artist TEXT NOT NULL DEFAULT '',
      genre TEXT NOT NULL DEFAULT '',
      year INTEGER NOT NULL DEFAULT 0,
      disc INTEGER NOT NULL DEFAULT 0,
      track_number INTEGER NOT NULL DEFAULT 0,
      duration_ms INTEGER NOT NULL DEFAULT 0,
      container TEXT NOT NULL DEFAULT '',
      codec TEXT NOT NULL DEFAULT '',
      bitrate INTEGER NOT NULL DEFAULT 0,
      sample_rate INTEGER NOT NULL DEFAULT 0,
      channels INTEGER NOT NULL DEFAULT 0,
      start_ms INTEGER NOT NULL DEFAULT 0,
      end_ms INTEGER NOT NULL DEFAULT 0,
      sheet_path TEXT,
      sheet_size INTEGER NOT NULL DEFAULT 0,
      sheet_mtime_ns INTEGER NOT NULL DEFAULT 0,
      UNIQUE (path, virtual_index)
    );
    CREATE INDEX tracks_by_library ON tracks (library_id);

    CREATE TABLE playlist_files (
      id INTEGER PRIMARY KEY,
      library_id INTEGER NOT NULL REFERENCES libraries (id),
      path TEXT NOT NULL UNIQUE,
      size INTEGER NOT NULL,
      mtime_ns INTEGER NOT NULL
    );
    CREATE INDEX playlist_files_by_library ON playlist_files (library_id);
  )sql");
}

void CreateSearchIndex(sqlite3* db) { search::CreateSearchIndexSchema(db); }

// The ordered migration steps: step i takes the schema from version i to version i + 1.
// To change the schema, append a step at the end (a function taking the sqlite3* handle, declared
// in your own area's header, e.g. {"playlists", playlist::CreatePlaylistTables}); never edit,
// reorder or remove a step that has been published, because databases in the field have run it.
// A step runs inside the migration's transaction and throws on failure.
struct MigrationStep {
  const char* what;
  void (*apply)(sqlite3* db);
};

constexpr MigrationStep kMigrationSteps[] = {
    {"libraries, tracks, playlist files", CreateLibraryTables},
    {"voice-matching search index", CreateSearchIndex},
    {"playlists and their items", playlist::CreatePlaylistTables},
};

}  // namespace

int LatestSchemaVersion() { return static_cast<int>(std::size(kMigrationSteps)); }

void MigrateLibraryDatabase(sqlite3* db) {
  auto read_version = [db] {
    sqlite3_stmt* stmt = nullptr;
    int rc = sqlite3_prepare_v2(db, "PRAGMA user_version", -1, &stmt, nullptr);
    if (rc != SQLITE_OK) sqlite::ThrowError(db, rc, "PRAGMA user_version");
    rc = sqlite3_step(stmt);
    const int version = rc == SQLITE_ROW ? sqlite3_column_int(stmt, 0) : 0;
    sqlite3_finalize(stmt);
    if (rc != SQLITE_ROW) sqlite::ThrowError(db, rc, "PRAGMA user_version");
    return version;
  };
  const int latest = LatestSchemaVersion();
  // Most opens find the schema current: answer that without taking the write lock.
  int version = read_version();
  if (version == latest) return;
  sqlite::Transaction transaction(db, sqlite::Transaction::Mode::kImmediate);
  version = read_version();  // another process may have migrated meanwhile
  if (version > latest) {
    throw std::runtime_error("the library database has schema version " + std::to_string(version) +
                             ", newer than this program knows (" + std::to_string(latest) +
                             "); update Sonvik Voice");
  }
  for (int step = version; step < latest; ++step) {
    try {
      kMigrationSteps[step].apply(db);
    } catch (const sqlite::Error& e) {
      throw sqlite::Error(e.code(), "library database upgrade to version " +
                                        std::to_string(step + 1) + " (" +
                                        kMigrationSteps[step].what + ") failed: " + e.what());
    }
  }
  // PRAGMA takes no bound parameters; the value is our own integer.
  Exec(db, ("PRAGMA user_version = " + std::to_string(latest)).c_str());
  transaction.Commit();
}

}  // namespace Sonvik::library
