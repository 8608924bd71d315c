#pragma once
// One row of the tracks table as the scanner writes it.
#include <cstdint>
#include <string>

#include "package/scanner/audio_tags.h"

namespace Sonvik::scanner {

struct TrackRow {
  int64_t library_id = 0;
  std::string path;
  int virtual_index = 0;  // 0 for a plain file, else the CUE entry's number
  int64_t size = 0;
  int64_t mtime_ns = 0;
  AudioTags tags;
  int64_t start_ms = 0;
  int64_t end_ms = 0;
  std::string sheet_path;  // the CUE sheet of a virtual track; empty for a plain file
  int64_t sheet_size = 0;
  int64_t sheet_mtime_ns = 0;
};

}  // namespace Sonvik::scanner
