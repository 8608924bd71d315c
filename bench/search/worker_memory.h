#pragma once
// Samples the memory of the server's workers while a load runs: the peak of each worker's
// private memory (pages no other process shares: its heap, stacks, and what it alone touched).
#include <sys/types.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <thread>
#include <vector>

namespace Sonvik::bench {

struct MemoryPeak {
  int64_t private_kib = 0;        // Private_Clean + Private_Dirty
  int64_t private_dirty_kib = 0;  // Private_Dirty alone (heap and written pages)
  int64_t rss_kib = 0;
};

class WorkerMemorySampler {
 public:
  // Polls the processes that `pids` names (asked again each round: pools grow and shrink).
  explicit WorkerMemorySampler(std::function<std::vector<pid_t>()> pids);
  ~WorkerMemorySampler();
  WorkerMemorySampler(const WorkerMemorySampler&) = delete;
  WorkerMemorySampler& operator=(const WorkerMemorySampler&) = delete;

  // Stops sampling; the largest figures seen in any one worker.
  MemoryPeak Stop();

 private:
  std::function<std::vector<pid_t>()> pids_;
  std::atomic<bool> stop_{false};
  MemoryPeak peak_;
  std::thread thread_;
};

}  // namespace Sonvik::bench
