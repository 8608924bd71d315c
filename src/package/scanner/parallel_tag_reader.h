#pragma once
// Reads many files' tags on a few threads: TagLib's parsing, not the database, is a scan's
// bottleneck, and files on a NAS often wait on the disk.
#include <atomic>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "package/scanner/audio_tags.h"
#include "package/scanner/read_job.h"

namespace Sonvik::scanner {

struct ReadResult {
  std::optional<AudioTags> tags;  // nullopt: unreadable, see error
  std::string error;
};

// Reads every job's file with `threads` threads (1: on the calling thread), results in job
// order. `files_read` is increased as each file is done, for progress displays.
std::vector<ReadResult> ReadTagsInParallel(std::span<const ReadJob> jobs, int threads,
                                           std::atomic<int64_t>* files_read);

}  // namespace Sonvik::scanner
