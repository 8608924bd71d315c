#pragma once
// A user's personal normal playlists while the personal library is switched off: .m3u8 (or .m3u)
// files in <preference dir>/playlists/, named by the file name without its extension.
//
// A playlist is only ever found by listing the folder and comparing names or numbers: no name
// that arrives in a request is joined into a path.
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Sonvik::playlist {

// <preference_dir>/playlists
std::string PersonalPlaylistFolder(const std::string& preference_dir);

struct PlaylistFile {
  std::string name;       // file name without extension
  std::string file_name;  // as found in the folder
  unsigned long number;   // PlaylistFileNumber(name)
};

// A stable number for a playlist file's name (it survives edits of the file, which replace it):
// a 64-bit FNV-1a hash, never 0.
unsigned long PlaylistFileNumber(std::string_view name);

// The playlist files of `folder`, by name in byte order; for a name with both extensions the
// .m3u8 file wins. Files whose names are no valid playlist names are left out. A missing folder
// has no playlists; nullopt when the folder exists but cannot be read.
std::optional<std::vector<PlaylistFile>> ListPlaylistFiles(const std::string& folder);

// The listed file whose name is `key`, or whose number written in decimal is `key`.
std::optional<PlaylistFile> FindPlaylistFile(const std::vector<PlaylistFile>& files,
                                             std::string_view key);

// Reads a regular file of at most `max_bytes` without following a symbolic link in its last
// step (these folders are the users' while the reader may be root). nullopt on any failure.
std::optional<std::string> ReadSmallFile(const std::string& path, size_t max_bytes);

inline constexpr size_t kMaxPlaylistFileBytes = 8 * 1024 * 1024;

}  // namespace Sonvik::playlist
