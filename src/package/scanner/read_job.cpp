#include "package/scanner/read_job.h"

namespace Sonvik::scanner {

std::vector<TrackRow> MakeTrackRows(const ReadJob& job, const AudioTags& file_tags) {
  TrackRow base;
  base.library_id = job.library_id;
  base.path = job.file.path;
  base.size = job.file.size;
  base.mtime_ns = job.file.mtime_ns;
  if (!job.sheet) {
    base.tags = file_tags;
    return {std::move(base)};
  }
  const SheetPart& part = *job.sheet;
  const CueSheet& sheet = *part.sheet;
  std::vector<TrackRow> rows;
  rows.reserve(part.entries.size());
  for (size_t index : part.entries) {
    const CueEntry& entry = sheet.entries[index];
    TrackRow row = base;
    row.virtual_index = entry.number;
    row.start_ms = entry.start_ms;
    row.end_ms = entry.end_ms;
    row.sheet_path = part.sheet_path;
    row.sheet_size = part.sheet_size;
    row.sheet_mtime_ns = part.sheet_mtime_ns;
    AudioTags& tags = row.tags;
    tags = file_tags;  // container, codec, rates and channels are the file's
    tags.title = !entry.title.empty() ? entry.title : "Track " + std::to_string(entry.number);
    tags.album = !sheet.title.empty() ? sheet.title : file_tags.album;
    tags.artist = !entry.performer.empty() ? entry.performer : file_tags.artist;
    tags.album_artist = !sheet.performer.empty() ? sheet.performer : file_tags.album_artist;
    if (!sheet.genre.empty()) tags.genre = sheet.genre;
    if (sheet.year != 0) tags.year = sheet.year;
    tags.track_number = entry.number;
    const int64_t end = entry.end_ms != 0 ? entry.end_ms : file_tags.duration_ms;
    tags.duration_ms = end > entry.start_ms ? end - entry.start_ms : 0;
    rows.push_back(std::move(row));
  }
  return rows;
}

}  // namespace Sonvik::scanner
