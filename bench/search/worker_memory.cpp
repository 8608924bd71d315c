#include "worker_memory.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <sstream>
#include <string>

namespace Sonvik::bench {
namespace {

MemoryPeak Read(pid_t pid) {
  MemoryPeak sample;
  std::ifstream in("/proc/" + std::to_string(pid) + "/smaps_rollup");
  std::string line;
  while (std::getline(in, line)) {
    std::istringstream fields(line);
    std::string key;
    int64_t kib = 0;
    fields >> key >> kib;
    if (key == "Rss:") sample.rss_kib = kib;
    if (key == "Private_Clean:" || key == "Private_Dirty:") sample.private_kib += kib;
    if (key == "Private_Dirty:") sample.private_dirty_kib = kib;
  }
  return sample;
}

}  // namespace

WorkerMemorySampler::WorkerMemorySampler(std::function<std::vector<pid_t>()> pids)
    : pids_(std::move(pids)) {
  thread_ = std::thread([this] {
    while (!stop_.load()) {
      for (pid_t pid : pids_()) {
        const MemoryPeak sample = Read(pid);
        peak_.private_kib = std::max(peak_.private_kib, sample.private_kib);
        peak_.private_dirty_kib = std::max(peak_.private_dirty_kib, sample.private_dirty_kib);
        peak_.rss_kib = std::max(peak_.rss_kib, sample.rss_kib);
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  });
}

WorkerMemorySampler::~WorkerMemorySampler() { Stop(); }

MemoryPeak WorkerMemorySampler::Stop() {
  stop_.store(true);
  if (thread_.joinable()) thread_.join();
  return peak_;
}

}  // namespace Sonvik::bench
