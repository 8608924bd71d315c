#include "package/library/library_removal.h"

#include "package/search/search_index.h"
#include "package/sqlite/statement.h"

namespace Sonvik::library {

void DeleteLibraryContents(sqlite3* db, int64_t library_id) {
  sqlite::Statement ids(db, "SELECT id FROM tracks WHERE library_id = ?");
  ids.Bind(1, library_id);
  while (ids.Step()) search::UnindexTrack(db, ids.ColumnInt64(0));
  for (const char* sql : {"DELETE FROM tracks WHERE library_id = ?",
                          "DELETE FROM playlist_files WHERE library_id = ?"}) {
    sqlite::Statement remove(db, sql);
    remove.Bind(1, library_id);
    remove.Run();
  }
}

}  // namespace Sonvik::library
