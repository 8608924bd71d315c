#pragma once
// One scan at a time: two scans would race over which files are gone.
#include <optional>
#include <string>

namespace Sonvik::scanner {

class ScanLock {
 public:
  // Takes the lock on `path` (created when missing) without waiting; nullopt when another
  // process holds it. Throws std::runtime_error when the lock file cannot be opened.
  static std::optional<ScanLock> TryAcquire(const std::string& path);
  ~ScanLock();
  ScanLock(ScanLock&& other) noexcept;
  ScanLock& operator=(ScanLock&&) = delete;
  ScanLock(const ScanLock&) = delete;
  ScanLock& operator=(const ScanLock&) = delete;

 private:
  explicit ScanLock(int fd) : fd_(fd) {}
  int fd_ = -1;  // the lock lives as long as this descriptor (flock); released by the kernel
                 // when the process dies, so a killed scan never leaves a stale lock
};

}  // namespace Sonvik::scanner
