#pragma once
// An exclusive lock on a folder for a read-modify-write of files in it, so that two writers do
// not lose each other's changes. Readers need none: files are replaced by rename.
#include <string>

namespace Sonvik::playlist {

class FolderLock {
 public:
  // Creates the folder (and its parents, mode 0755) when missing, then waits for the lock.
  // Throws std::runtime_error with a message when either fails.
  explicit FolderLock(const std::string& folder);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  int fd_ = -1;
};

}  // namespace Sonvik::playlist
