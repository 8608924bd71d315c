#include "package/playlist/folder_lock.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <system_error>

namespace Sonvik::playlist {

FolderLock::FolderLock(const std::string& folder) {
  std::error_code error;
  std::filesystem::create_directories(folder, error);
  if (error) throw std::runtime_error("cannot create " + folder + ": " + error.message());
  fd_ = open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd_ < 0) throw std::runtime_error("cannot open " + folder + ": " + std::strerror(errno));
  while (flock(fd_, LOCK_EX) != 0) {
    if (errno == EINTR) continue;
    const int saved = errno;
    close(fd_);
    throw std::runtime_error("cannot lock " + folder + ": " + std::strerror(saved));
  }
}

FolderLock::~FolderLock() { close(fd_); }  // closing releases the lock

}  // namespace Sonvik::playlist
