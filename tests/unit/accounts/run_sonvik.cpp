#include "unit/accounts/run_sonvik.h"

#include <grp.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

namespace Sonvik::testing {
namespace {

std::string ReadAll(int fd) {
  std::string text;
  ::lseek(fd, 0, SEEK_SET);
  char buffer[4096];
  ssize_t n;
  while ((n = ::read(fd, buffer, sizeof buffer)) > 0) text.append(buffer, static_cast<size_t>(n));
  return text;
}

int WaitFor(pid_t pid) {
  int status = 0;
  if (::waitpid(pid, &status, 0) != pid) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

ProcessResult RunSonvik(const std::vector<std::string>& args, const std::string& input,
                        std::optional<uid_t> as_uid) {
  const char* build_dir = std::getenv("SONVIK_BUILD_DIR");
  if (build_dir == nullptr) throw std::runtime_error("SONVIK_BUILD_DIR is not set (run via ctest)");
  std::string binary = std::string(build_dir) + "/bin/sonvik";

  int in = ::memfd_create("stdin", MFD_CLOEXEC);
  int out = ::memfd_create("stdout", MFD_CLOEXEC);
  int err = ::memfd_create("stderr", MFD_CLOEXEC);
  if (in < 0 || out < 0 || err < 0) throw std::runtime_error("memfd_create failed");
  if (::write(in, input.data(), input.size()) != static_cast<ssize_t>(input.size())) {
    throw std::runtime_error("cannot prepare standard input");
  }
  ::lseek(in, 0, SEEK_SET);

  std::vector<std::string> argv_storage{binary};
  argv_storage.insert(argv_storage.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (auto& arg : argv_storage) argv.push_back(arg.data());
  argv.push_back(nullptr);

  pid_t pid = ::fork();
  if (pid == 0) {
    ::dup2(in, 0);
    ::dup2(out, 1);
    ::dup2(err, 2);
    if (as_uid && (::setgid(*as_uid) != 0 || ::setuid(*as_uid) != 0)) ::_exit(126);
    // No terminal: the password can only come from standard input.
    ::setsid();
    ::execv(binary.c_str(), argv.data());
    ::_exit(127);
  }
  ProcessResult result;
  result.exit_status = WaitFor(pid);
  result.out = ReadAll(out);
  result.err = ReadAll(err);
  ::close(in);
  ::close(out);
  ::close(err);
  return result;
}

bool RunAs(uid_t uid, gid_t gid, bool (*body)()) {
  pid_t pid = ::fork();
  if (pid == 0) {
    if (::setgroups(0, nullptr) != 0 || ::setgid(gid) != 0 || ::setuid(uid) != 0) ::_exit(2);
    bool ok = false;
    try {
      ok = body();
    } catch (...) {
    }
    ::_exit(ok ? 0 : 1);
  }
  return WaitFor(pid) == 0;
}

}  // namespace Sonvik::testing
