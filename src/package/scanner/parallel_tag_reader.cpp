#include "package/scanner/parallel_tag_reader.h"

#include <algorithm>
#include <thread>

#include "package/scanner/tag_reader.h"

namespace Sonvik::scanner {

std::vector<ReadResult> ReadTagsInParallel(std::span<const ReadJob> jobs, int threads,
                                           std::atomic<int64_t>* files_read) {
  std::vector<ReadResult> results(jobs.size());
  std::atomic<size_t> next{0};
  // Each worker takes the next unread job, so a slow file holds up only its own thread.
  auto work = [&] {
    for (size_t i = next++; i < jobs.size(); i = next++) {
      results[i].tags = ReadAudioTags(jobs[i].file.path, &results[i].error);
      ++*files_read;
    }
  };
  const size_t helpers = std::min<size_t>(std::max(threads, 1) - 1, jobs.size());
  std::vector<std::jthread> pool;
  pool.reserve(helpers);
  for (size_t i = 0; i < helpers; ++i) pool.emplace_back(work);
  work();
  pool.clear();  // joins: the helpers may still be finishing their last file
  return results;
}

}  // namespace Sonvik::scanner
