#pragma once
// Shared playlists from the .m3u/.m3u8 files that the scanner found in the shared music folders
// (its playlist_files table). Run after a scan: new and changed files are (re)imported, files
// that vanished take their playlists with them (the rows cascade).
#include <string>
#include <vector>

struct sqlite3;

namespace Sonvik::playlist {

struct ImportReport {
  int imported = 0;   // playlists created or refreshed
  int unchanged = 0;  // files not changed since their last import
  // One line per problem: an unreadable file, an unusable name, an entry with no track.
  std::vector<std::string> problems;
};

// Imports in one transaction committed with synchronous=FULL. A playlist is named after its
// file (without extension); a name that another shared playlist has already gets " (2)", " (3)"...
// Entries are absolute paths or relative to the playlist file's folder ("file://" URLs too);
// an entry naming a file split by a CUE sheet, or the sheet itself, stands for all its tracks.
// Only shared tracks are looked up. Throws sqlite::Error (nothing is then changed).
ImportReport ImportM3uPlaylists(sqlite3* db);

}  // namespace Sonvik::playlist
