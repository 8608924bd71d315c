#include "package/playlist/full_sync.h"

#include <sqlite3.h>

#include "package/sqlite/error.h"

namespace Sonvik::playlist {

FullSyncScope::FullSyncScope(sqlite3* db) : db_(db) {
  const int rc = sqlite3_exec(db_, "PRAGMA synchronous = FULL", nullptr, nullptr, nullptr);
  if (rc != SQLITE_OK) sqlite::ThrowError(db_, rc, "PRAGMA synchronous = FULL");
}

FullSyncScope::~FullSyncScope() {
  // Back to the library's setting; a failure only leaves the connection more careful.
  sqlite3_exec(db_, "PRAGMA synchronous = NORMAL", nullptr, nullptr, nullptr);
}

}  // namespace Sonvik::playlist
