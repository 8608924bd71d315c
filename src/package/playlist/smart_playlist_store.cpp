#include "package/playlist/smart_playlist_store.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstring>
#include <map>
#include <mutex>
#include <stdexcept>

#include "package/paths.h"
#include "package/playlist/playlist_files.h"
#include "package/util/atomic_file.h"

namespace Sonvik::playlist {

std::string SharedSmartPlaylistPath() { return paths::kSharedSmartPlaylists; }

std::string PersonalSmartPlaylistPath(const std::string& preference_dir) {
  return PersonalPlaylistFolder(preference_dir) + "/smart.playlist";
}

std::optional<SmartPlaylistFile> LoadSmartPlaylists(const std::string& path, std::string* problem) {
  struct stat info {};
  if (lstat(path.c_str(), &info) != 0 && errno == ENOENT) return SmartPlaylistFile();
  auto text = ReadSmallFile(path, kMaxPlaylistFileBytes);
  if (!text) {
    *problem = "cannot read " + path + " (not a regular file, too big or not readable)";
    return std::nullopt;
  }
  std::string why;
  auto file = ParseSmartPlaylistFile(*text, &why);
  if (!file) *problem = path + ": " + why;
  return file;
}

void SaveSmartPlaylists(const std::string& path, const std::vector<SmartPlaylist>& playlists) {
  if (!util::WriteFileAtomically(path, FormatSmartPlaylistFile(playlists))) {
    throw std::runtime_error("cannot write " + path + ": " + std::strerror(errno));
  }
}

}  // namespace Sonvik::playlist
