#pragma once
// .m3u/.m3u8 playlists: one location per line, "#" lines are comments or directives.
//
// Besides #EXTM3U and #EXTINF this package writes "#SONVIK-VIRTUAL:<n>" before the location of a
// CUE sheet's entry n: other players skip it as a comment, and the file still lists the audio file.
#include <string>
#include <string_view>
#include <vector>

#include "package/playlist/playlist_entry.h"

namespace Sonvik::playlist {

// The entries of a playlist file, in order. Locations are returned as written (relative ones
// stay relative), except that "file://" URLs are turned into plain paths. A UTF-8 byte-order
// mark and CR line ends are accepted.
std::vector<PlaylistEntry> ParseM3u(std::string_view text);

struct M3uItem {
  PlaylistEntry entry;  // path must be absolute
  int duration_s = -1;  // -1: unknown
  std::string display;  // "Artist - Title" for #EXTINF, may be empty
};

// An extended M3U text for `items`.
std::string FormatM3u8(const std::vector<M3uItem>& items);

}  // namespace Sonvik::playlist
