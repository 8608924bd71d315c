#pragma once
// One item of a normal playlist: a track named by its file and, for a CUE sheet's entry, its
// number within the sheet (0 for a plain file).
#include <cstdint>
#include <string>

namespace Sonvik::playlist {

struct PlaylistEntry {
  std::string path;
  int32_t virtual_index = 0;
  bool operator==(const PlaylistEntry&) const = default;
};

}  // namespace Sonvik::playlist
