#include "package/scanner/scan_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace Sonvik::scanner {

std::optional<ScanLock> ScanLock::TryAcquire(const std::string& path) {
  const int fd = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0644);
  if (fd < 0) {
    throw std::runtime_error("cannot open " + path + ": " + std::strerror(errno));
  }
  if (flock(fd, LOCK_EX | LOCK_NB) != 0) {
    close(fd);
    return std::nullopt;
  }
  return ScanLock(fd);
}

ScanLock::~ScanLock() {
  if (fd_ >= 0) close(fd_);
}

ScanLock::ScanLock(ScanLock&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}

}  // namespace Sonvik::scanner
