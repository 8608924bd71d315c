#include "host/accounts/change_counter.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>

#include "package/util/unique_fd.h"

namespace QUOR::accounts::detail {

ChangeCounter::ChangeCounter(const std::string& path) {
  Sonvik::util::UniqueFd fd(::open(path.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW | O_CLOEXEC, 0600));
  if (!fd.valid()) return;
  struct stat info {};
  if (::fstat(fd.get(), &info) != 0) return;
  // Growing to the same size twice is harmless, so two processes may race here; a counter
  // already raised is never shortened.
  if (info.st_size < static_cast<off_t>(sizeof(uint64_t)) &&
      ::ftruncate(fd.get(), sizeof(uint64_t)) != 0) {
    return;
  }
  void* mapped = ::mmap(nullptr, sizeof(uint64_t), PROT_READ | PROT_WRITE, MAP_SHARED, fd.get(), 0);
  if (mapped == MAP_FAILED) return;
  word_ = static_cast<uint64_t*>(mapped);
}

ChangeCounter::~ChangeCounter() {
  if (word_ != nullptr) ::munmap(word_, sizeof(uint64_t));
}

uint64_t ChangeCounter::Read() const {
  if (word_ == nullptr) return 0;
  return std::atomic_ref<uint64_t>(*word_).load(std::memory_order_acquire);
}

void ChangeCounter::Raise() {
  if (word_ != nullptr) std::atomic_ref<uint64_t>(*word_).fetch_add(1, std::memory_order_acq_rel);
}

}  // namespace QUOR::accounts::detail
