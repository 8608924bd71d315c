#include "cli/service_account.h"

#include <pwd.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <stdexcept>
#include <vector>

#include "package/paths.h"

extern char** environ;

namespace Sonvik::cli {
namespace {

// Runs `argv` and waits; the exit status, or -1 when it could not be started.
int Run(std::vector<std::string> argv) {
  std::vector<char*> raw;
  for (auto& arg : argv) raw.push_back(arg.data());
  raw.push_back(nullptr);
  pid_t pid;
  if (::posix_spawn(&pid, raw[0], nullptr, nullptr, raw.data(), environ) != 0) return -1;
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0) {
    if (errno != EINTR) return -1;
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

void Chown(const ServiceIds& ids, const std::filesystem::path& path) {
  if (::lchown(path.c_str(), ids.uid, ids.gid) != 0) {
    throw std::runtime_error("cannot give " + path.string() + " to the account '" +
                             paths::kServiceAccount + "': " + std::strerror(errno));
  }
}

}  // namespace

std::optional<ServiceIds> FindServiceAccount() {
  const passwd* entry = ::getpwnam(paths::kServiceAccount);
  if (entry == nullptr) return std::nullopt;
  return ServiceIds{entry->pw_uid, entry->pw_gid};
}

ServiceIds EnsureServiceAccount() {
  if (auto ids = FindServiceAccount()) return *ids;
  const char* useradd =
      ::access("/usr/sbin/useradd", X_OK) == 0 ? "/usr/sbin/useradd" : "/sbin/useradd";
  // Debian's useradd refuses a name with a capital letter unless told --badname.
  int status = Run({useradd, "--system", "--badname", "--no-create-home", "--shell",
                    "/usr/sbin/nologin", "--home-dir", paths::kStateDir, paths::kServiceAccount});
  if (status != 0) {
    throw std::runtime_error(
        std::string("creating the system account '") + paths::kServiceAccount + "' with " +
        useradd +
        (status < 0 ? " could not start" : " failed (exit status " + std::to_string(status) + ")") +
        "; make sure the 'passwd' package is installed and sonvik init runs as root");
  }
  if (auto ids = FindServiceAccount()) return *ids;
  throw std::runtime_error(std::string("useradd reported success but the account '") +
                           paths::kServiceAccount + "' cannot be found; check /etc/passwd");
}

void GiveTo(const ServiceIds& ids, const std::string& path) {
  namespace fs = std::filesystem;
  Chown(ids, path);
  if (!fs::is_directory(fs::symlink_status(path))) return;
  std::error_code error;
  for (fs::recursive_directory_iterator it(path, error), end; !error && it != end;
       it.increment(error)) {
    Chown(ids, it->path());
  }
  if (error) {
    throw std::runtime_error("cannot walk " + path + ": " + error.message());
  }
}

}  // namespace Sonvik::cli
