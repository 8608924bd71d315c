#include "package/library/library_folders.h"

#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "package/sqlite/statement.h"

namespace Sonvik::library {

std::string CanonicalMusicFolder(const std::string& folder) {
  if (folder.empty() || folder.front() != '/') {
    throw std::runtime_error("the music folder must be an absolute path (starting with /): " +
                             folder);
  }
  std::unique_ptr<char, decltype(&std::free)> resolved(realpath(folder.c_str(), nullptr),
                                                       &std::free);
  if (resolved == nullptr) {
    throw std::runtime_error("cannot use music folder " + folder + ": " + std::strerror(errno));
  }
  struct stat st {};
  if (stat(resolved.get(), &st) != 0 || !S_ISDIR(st.st_mode)) {
    throw std::runtime_error("not a directory: " + folder);
  }
  return resolved.get();
}

namespace {
constexpr const char* kFolderColumns = "id, path, owner_uid, owner_name, enabled";

LibraryFolder ReadFolder(const sqlite::Statement& row) {
  LibraryFolder folder;
  folder.id = row.ColumnInt64(0);
  folder.path = row.ColumnText(1);
  folder.owner_uid = static_cast<unsigned>(row.ColumnInt64(2));
  folder.owner_name = row.ColumnText(3);
  folder.enabled = row.ColumnInt(4) != 0;
  return folder;
}
}  // namespace

LibraryFolder AddSharedFolder(sqlite3* db, const std::string& folder) {
  const std::string path = CanonicalMusicFolder(folder);
  sqlite::Statement insert(
      db, "INSERT INTO libraries (path, owner_uid) VALUES (?, 0) ON CONFLICT DO NOTHING");
  insert.Bind(1, path);
  insert.Run();
  sqlite::Statement select(db, std::string("SELECT ") + kFolderColumns +
                                   " FROM libraries WHERE owner_uid = 0 AND path = ?");
  select.Bind(1, path);
  if (!select.Step()) throw std::runtime_error("shared folder vanished while adding it: " + path);
  return ReadFolder(select);
}

std::vector<LibraryFolder> ListLibraryFolders(sqlite3* db) {
  sqlite::Statement select(
      db, std::string("SELECT ") + kFolderColumns +
              ", (SELECT count(*) FROM tracks WHERE tracks.library_id = libraries.id)"
              " FROM libraries ORDER BY owner_uid <> 0, owner_name, path");
  std::vector<LibraryFolder> folders;
  while (select.Step()) {
    folders.push_back(ReadFolder(select));
    folders.back().track_count = select.ColumnInt64(5);
  }
  return folders;
}

std::optional<LibraryFolder> FindPersonalFolder(sqlite3* db, unsigned uid) {
  if (uid == 0) return std::nullopt;
  sqlite::Statement select(
      db, std::string("SELECT ") + kFolderColumns + " FROM libraries WHERE owner_uid = ?");
  select.Bind(1, uid);
  if (!select.Step()) return std::nullopt;
  return ReadFolder(select);
}

}  // namespace Sonvik::library
