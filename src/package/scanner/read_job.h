#pragma once
// A file the scan has to read (new or changed), and what it becomes once read.
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "package/scanner/audio_tags.h"
#include "package/scanner/cue_sheet.h"
#include "package/scanner/folder_walker.h"
#include "package/scanner/track_row.h"

namespace Sonvik::scanner {

// The entries of one CUE sheet that play a given audio file.
struct SheetPart {
  std::string sheet_path;
  int64_t sheet_size = 0;
  int64_t sheet_mtime_ns = 0;
  std::shared_ptr<const CueSheet> sheet;
  std::vector<size_t> entries;  // indexes into sheet->entries, in sheet order
};

struct ReadJob {
  int64_t library_id = 0;
  WalkedFile file;
  std::optional<SheetPart> sheet;  // set when a CUE sheet splits the file into virtual tracks
};

// The rows a read file becomes: one for a plain file, one per sheet entry otherwise. Virtual
// tracks take their texts from the sheet and their audio properties from the file.
std::vector<TrackRow> MakeTrackRows(const ReadJob& job, const AudioTags& file_tags);

}  // namespace Sonvik::scanner
