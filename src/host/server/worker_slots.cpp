#include "host/server/worker_slots.h"

#include <sys/mman.h>

#include <cerrno>
#include <new>
#include <system_error>

namespace QUOR::server {

static_assert(std::atomic<uint64_t>::is_always_lock_free,
              "slots are shared between processes: their atomics must not need a lock");

WorkerSlots::WorkerSlots(size_t count) : count_(count) {
  void* memory = mmap(nullptr, count * sizeof(std::atomic<uint64_t>), PROT_READ | PROT_WRITE,
                      MAP_SHARED | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) throw std::system_error(errno, std::generic_category(), "mmap");
  slots_ = static_cast<std::atomic<uint64_t>*>(memory);
  for (size_t i = 0; i < count; ++i) new (&slots_[i]) std::atomic<uint64_t>(0);
}

WorkerSlots::~WorkerSlots() { munmap(slots_, count_ * sizeof(std::atomic<uint64_t>)); }

}  // namespace QUOR::server
