#include "e2e/support/test_machine.h"

#include <gtest/gtest.h>
#include <net/if.h>
#include <sched.h>
#include <sys/ioctl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>

namespace Sonvik::e2e {
namespace {

void Check(bool ok, const std::string& what) {
  if (!ok) {
    std::fprintf(stderr, "e2e setup: %s: %s\n", what.c_str(), std::strerror(errno));
    std::abort();
  }
}

// /dev as an overlay whose upper layer lives in the namespace's own tmpfs at /var/packages:
// files made in /dev (the syslog socket) vanish with the namespace and nothing is left outside.
// pts, shm and mqueue are bound back on top.
void OverlayDev() {
  std::string scratch = "/var/packages/.e2e-dev";
  std::string old_dev = scratch + "/old", upper = scratch + "/upper", work = scratch + "/work";
  for (const std::string& dir : {scratch, old_dev, upper, work}) {
    Check(mkdir(dir.c_str(), 0755) == 0 || errno == EEXIST, dir);
  }
  Check(mount("/dev", old_dev.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0, "bind /dev");
  std::string options = "lowerdir=/dev,upperdir=" + upper + ",workdir=" + work;
  Check(mount("overlay", "/dev", "overlay", 0, options.c_str()) == 0, "overlay /dev");
  for (const char* sub : {"pts", "shm", "mqueue"}) {
    std::string from = old_dev + "/" + sub, to = std::string("/dev/") + sub;
    if (std::filesystem::is_directory(from) && std::filesystem::is_directory(to)) {
      Check(mount(from.c_str(), to.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0, to);
    }
  }
  // Whatever the machine has at /dev/log is hidden in this namespace; tests bind their own.
  unlink("/dev/log");
}

void PrivateLoopbackNetwork() {
  Check(unshare(CLONE_NEWNET) == 0, "unshare(CLONE_NEWNET)");
  int fd = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  Check(fd >= 0, "socket");
  ifreq request{};
  std::strncpy(request.ifr_name, "lo", IFNAMSIZ - 1);
  Check(ioctl(fd, SIOCGIFFLAGS, &request) == 0, "SIOCGIFFLAGS lo");
  request.ifr_flags = static_cast<short>(request.ifr_flags | IFF_UP | IFF_RUNNING);
  Check(ioctl(fd, SIOCSIFFLAGS, &request) == 0, "SIOCSIFFLAGS lo");
  close(fd);
}

}  // namespace

void PrepareTestMachine() {
  static bool prepared = false;
  if (prepared) return;
  const char* in_namespace = std::getenv("SONVIK_IN_TEST_NAMESPACE");
  if (in_namespace == nullptr || std::string(in_namespace) != "1") {
    std::fprintf(stderr,
                 "end-to-end tests change /var/packages and /etc: run them through "
                 "tests/run_in_namespace.sh (ctest does)\n");
    std::abort();
  }
  OverlayDev();
  PrivateLoopbackNetwork();
  prepared = true;
}

std::string SonvikBinary() {
  std::filesystem::path self = std::filesystem::read_symlink("/proc/self/exe");
  return (self.parent_path() / "sonvik").string();
}

}  // namespace Sonvik::e2e
