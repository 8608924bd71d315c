#include "child_process.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

namespace Sonvik::bench {
namespace {

pid_t Spawn(const std::vector<std::string>& args, const std::string& log_path) {
  std::vector<char*> argv;
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  const pid_t pid = fork();
  if (pid == 0) {
    const int log = open(log_path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    const int null = open("/dev/null", O_RDONLY);
    dup2(null, 0);
    dup2(log, 1);
    dup2(log, 2);
    execv(argv[0], argv.data());
    _exit(127);
  }
  return pid;
}

}  // namespace

bool Run(const std::vector<std::string>& args, const std::string& log_path) {
  const pid_t pid = Spawn(args, log_path);
  int status = 0;
  return pid > 0 && waitpid(pid, &status, 0) == pid && WIFEXITED(status) &&
         WEXITSTATUS(status) == 0;
}

Background::Background(const std::vector<std::string>& args, const std::string& log_path)
    : pid_(Spawn(args, log_path)) {}

Background::~Background() {
  if (pid_ <= 0) return;
  kill(pid_, SIGTERM);
  int status = 0;
  waitpid(pid_, &status, 0);
}

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace Sonvik::bench
