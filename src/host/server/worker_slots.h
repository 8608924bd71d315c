#pragma once
// A table in memory shared by the master and every worker: one word per worker holding the id
// of the connection it is serving, 0 when it serves none. Workers take requests from one shared
// queue, so this is how the master learns which worker took which request: to close the
// connection of a worker that dies mid-request, and to tell requests still waiting from those
// being served.
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace QUOR::server {

class WorkerSlots {
 public:
  // Maps `count` zeroed slots; throws std::system_error when it cannot.
  explicit WorkerSlots(size_t count);
  ~WorkerSlots();
  WorkerSlots(const WorkerSlots&) = delete;
  WorkerSlots& operator=(const WorkerSlots&) = delete;

  std::atomic<uint64_t>& operator[](size_t index) { return slots_[index]; }
  const std::atomic<uint64_t>& operator[](size_t index) const { return slots_[index]; }
  size_t size() const { return count_; }

 private:
  std::atomic<uint64_t>* slots_ = nullptr;
  size_t count_ = 0;
};

}  // namespace QUOR::server
