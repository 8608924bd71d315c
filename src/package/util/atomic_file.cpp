#include "package/util/atomic_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

namespace Sonvik::util {
namespace {

bool WriteAll(int fd, const std::string& content) {
  size_t done = 0;
  while (done < content.size()) {
    ssize_t n = ::write(fd, content.data() + done, content.size() - done);
    if (n < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    done += static_cast<size_t>(n);
  }
  return true;
}

std::string FolderOf(const std::string& path) {
  auto slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

}  // namespace

bool WriteFileAtomically(const std::string& path, const std::string& content, int mode) {
  std::string pattern = path + ".tmp.XXXXXX";
  std::vector<char> name(pattern.begin(), pattern.end());
  name.push_back('\0');
  int fd = ::mkstemp(name.data());
  if (fd < 0) return false;
  bool ok =
      ::fchmod(fd, static_cast<mode_t>(mode)) == 0 && WriteAll(fd, content) && ::fsync(fd) == 0;
  int saved = errno;
  ::close(fd);
  if (ok && ::rename(name.data(), path.c_str()) == 0) {
    int dir = ::open(FolderOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (dir >= 0) {
      ::fsync(dir);
      ::close(dir);
    }
    return true;
  }
  if (ok) saved = errno;
  ::unlink(name.data());
  errno = saved;
  return false;
}

}  // namespace Sonvik::util
