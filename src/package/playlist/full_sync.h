#pragma once
// Playlists cannot be rebuilt from the music files, so their commits are made durable
// (synchronous=FULL) although the library database otherwise runs with NORMAL.
struct sqlite3;

namespace Sonvik::playlist {

// Sets synchronous=FULL for its lifetime. Open it before the transaction: SQLite refuses to
// change the setting inside one. Throws sqlite::Error.
class FullSyncScope {
 public:
  explicit FullSyncScope(sqlite3* db);
  ~FullSyncScope();
  FullSyncScope(const FullSyncScope&) = delete;
  FullSyncScope& operator=(const FullSyncScope&) = delete;

 private:
  sqlite3* db_;
};

}  // namespace Sonvik::playlist
