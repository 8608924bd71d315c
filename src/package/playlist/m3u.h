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

// A playlist file cut into its items, each with the lines that lead to it (#EXTINF and other
// comments), so that an edit keeps every line it does not touch.
struct M3uDocument {
  std::string header;  // the #EXTM3U line, if any
  struct Block {
    PlaylistEntry entry;
    std::string lines;  // the item's own lines, each ending in "\n"
  };
  std::vector<Block> blocks;
  std::string trailer;  // comment lines after the last item

  std::string Text() const;
};
M3uDocument ParseM3uDocument(std::string_view text);

struct M3uItem {
  PlaylistEntry entry;  // path must be absolute
  int duration_s = -1;  // -1: unknown
  std::string display;  // "Artist - Title" for #EXTINF, may be empty
};

// An extended M3U text for `items`.
std::string FormatM3u8(const std::vector<M3uItem>& items);
// The lines of one item, as FormatM3u8 writes them.
std::string FormatM3uItem(const M3uItem& item);

}  // namespace Sonvik::playlist
