#include "package/library/personal_library.h"

#include <exception>
#include <stdexcept>

#include "package/library/library_database.h"
#include "package/library/library_folders.h"
#include "package/library/library_removal.h"
#include "package/sqlite/statement.h"
#include "package/sqlite/transaction.h"

int IsPersonalLibEnabled(const std::string& user_name) {
  try {
    sqlite3* db = Sonvik::library::ProcessLibraryDatabase().get();
    Sonvik::sqlite::Statement select(
        db, "SELECT enabled FROM libraries WHERE owner_uid <> 0 AND owner_name = ?");
    select.Bind(1, user_name);
    return select.Step() && select.ColumnInt(0) != 0 ? 1 : 0;
  } catch (const std::exception&) {
    return 0;  // an unreadable library has no personal folder switched on
  }
}

namespace Sonvik::library {

void SetPersonalLibrary(unsigned uid, const std::string& user_name, const std::string& folder) {
  if (uid == 0) throw std::runtime_error("uid 0 cannot own a personal library");
  const std::string path = CanonicalMusicFolder(folder);
  sqlite3* db = ProcessLibraryDatabase().get();
  sqlite::Transaction transaction(db);
  auto previous = FindPersonalFolder(db, uid);
  if (previous && previous->path != path) {
    // The old folder's tracks are no longer this user's music.
    DeleteLibraryContents(db, previous->id);
  }
  sqlite::Statement upsert(db,
                           "INSERT INTO libraries (path, owner_uid, owner_name, enabled)"
                           " VALUES (?, ?, ?, 1)"
                           " ON CONFLICT (owner_uid) WHERE owner_uid <> 0"
                           " DO UPDATE SET path = excluded.path, owner_name = excluded.owner_name,"
                           " enabled = 1");
  upsert.BindAll(path, uid, user_name);
  upsert.Run();
  transaction.Commit();
}

void DisablePersonalLibrary(unsigned uid) {
  sqlite::Statement update(
      ProcessLibraryDatabase().get(),
      "UPDATE libraries SET enabled = 0 WHERE owner_uid = ? AND owner_uid <> 0");
  update.Bind(1, uid);
  update.Run();
}

void RemovePersonalLibrary(unsigned uid) {
  sqlite3* db = ProcessLibraryDatabase().get();
  sqlite::Transaction transaction(db);
  if (auto folder = FindPersonalFolder(db, uid)) {
    DeleteLibraryContents(db, folder->id);
    sqlite::Statement remove(db, "DELETE FROM libraries WHERE id = ?");
    remove.Bind(1, folder->id);
    remove.Run();
  }
  transaction.Commit();
}

}  // namespace Sonvik::library
