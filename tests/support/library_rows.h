#pragma once
// Rows that several test fixtures put straight into the library database.
#include <sqlite3.h>

#include <cstdint>
#include <string>

#include "package/sqlite/statement.h"

namespace Sonvik::testing {

// A music folder: shared (owner_uid 0) or a user's personal library. Answers its id.
inline int64_t InsertLibraryRow(sqlite3* db, const std::string& path, unsigned owner_uid,
                                const std::string& owner, bool enabled) {
  sqlite::Statement insert(db,
                           "INSERT INTO libraries (path, owner_uid, owner_name, enabled)"
                           " VALUES (?, ?, ?, ?)");
  insert.BindAll(path, owner_uid, owner, enabled ? 1 : 0);
  insert.Run();
  return sqlite3_last_insert_rowid(db);
}

}  // namespace Sonvik::testing
