#pragma once
// The music folders the scanner walks: shared folders (everyone's view) and personal folders
// (one per user, in that user's view while switched on).
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

struct sqlite3;

namespace Sonvik::library {

struct LibraryFolder {
  int64_t id = 0;
  std::string path;        // absolute, symbolic links resolved
  unsigned owner_uid = 0;  // 0 = shared
  std::string owner_name;  // empty for shared folders
  bool enabled = true;
  int64_t track_count = 0;  // filled by ListLibraryFolders only
};

// Resolves `folder` to an absolute path without symbolic links. Throws std::runtime_error with a
// message for the user when it is relative, missing or not a directory.
std::string CanonicalMusicFolder(const std::string& folder);

// Adds a shared folder; adding the same folder again changes nothing. Answers the folder's row.
// Throws std::runtime_error (see CanonicalMusicFolder) or sqlite::Error.
LibraryFolder AddSharedFolder(sqlite3* db, const std::string& folder);

// Every folder, shared ones first, each with its number of tracks.
std::vector<LibraryFolder> ListLibraryFolders(sqlite3* db);

// The user's personal folder, if one was ever set.
std::optional<LibraryFolder> FindPersonalFolder(sqlite3* db, unsigned uid);

}  // namespace Sonvik::library
