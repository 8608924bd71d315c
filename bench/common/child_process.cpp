#include "bench/common/child_process.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <dirent.h>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <sstream>

namespace Sonvik::bench {
namespace {

std::vector<char*> Argv(std::vector<std::string>& args) {
  std::vector<char*> argv;
  for (std::string& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  return argv;
}

std::string ReadAll(int fd) {
  std::string text;
  char buffer[4096];
  ssize_t n;
  while ((n = ::read(fd, buffer, sizeof(buffer))) > 0) text.append(buffer, static_cast<size_t>(n));
  return text;
}

}  // namespace

std::string RunOrDie(const std::vector<std::string>& args, const std::string& input) {
  std::vector<std::string> copy = args;
  std::vector<char*> argv = Argv(copy);
  int in_pipe[2], out_pipe[2], err_pipe[2];
  if (::pipe(in_pipe) != 0 || ::pipe(out_pipe) != 0 || ::pipe(err_pipe) != 0) std::exit(2);
  pid_t pid = ::fork();
  if (pid == 0) {
    ::dup2(in_pipe[0], 0);
    ::dup2(out_pipe[1], 1);
    ::dup2(err_pipe[1], 2);
    for (int fd : {in_pipe[0], in_pipe[1], out_pipe[0], out_pipe[1], err_pipe[0], err_pipe[1]}) {
      ::close(fd);
    }
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  ::close(in_pipe[0]);
  ::close(out_pipe[1]);
  ::close(err_pipe[1]);
  if (!input.empty() && ::write(in_pipe[1], input.data(), input.size()) < 0) std::exit(2);
  ::close(in_pipe[1]);
  // Commands here write little on stderr; reading stdout first cannot dead-lock on it.
  std::string out = ReadAll(out_pipe[0]);
  std::string err = ReadAll(err_pipe[0]);
  ::close(out_pipe[0]);
  ::close(err_pipe[0]);
  int status = 0;
  ::waitpid(pid, &status, 0);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    std::cerr << "command failed: " << args[0];
    for (size_t i = 1; i < args.size(); ++i) std::cerr << " " << args[i];
    std::cerr << "\n" << err << out;
    std::exit(1);
  }
  return out;
}

double RunAndMeasureCpu(const std::vector<std::string>& args) {
  std::vector<std::string> copy = args;
  std::vector<char*> argv = Argv(copy);
  pid_t pid = ::fork();
  if (pid == 0) {
    int null = ::open("/dev/null", O_RDWR);
    ::dup2(null, 0);
    ::dup2(null, 1);
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  int status = 0;
  rusage usage{};
  ::wait4(pid, &status, 0, &usage);
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    std::cerr << "command failed: " << args[0] << "\n";
    std::exit(1);
  }
  auto seconds = [](const timeval& t) { return static_cast<double>(t.tv_sec) + t.tv_usec / 1e6; };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double ProcessTreeCpuSeconds(pid_t pid) {
  const double ticks = static_cast<double>(::sysconf(_SC_CLK_TCK));
  double total = 0;
  DIR* proc = ::opendir("/proc");
  if (proc == nullptr) return 0;
  while (const dirent* entry = ::readdir(proc)) {
    if (entry->d_name[0] < '0' || entry->d_name[0] > '9') continue;
    std::ifstream stat(std::string("/proc/") + entry->d_name + "/stat");
    std::string line;
    std::getline(stat, line);
    // Fields after the command (in parentheses): state ppid ... utime (14) stime (15)
    // cutime (16) cstime (17).
    size_t close = line.rfind(')');
    if (close == std::string::npos) continue;
    std::istringstream fields(line.substr(close + 2));
    std::string field;
    std::vector<std::string> values;
    while (fields >> field) values.push_back(field);
    if (values.size() < 15) continue;
    pid_t self = std::atoi(entry->d_name);
    pid_t parent = std::atoi(values[1].c_str());
    if (self != pid && parent != pid) continue;
    total += (std::atof(values[11].c_str()) + std::atof(values[12].c_str())) / ticks;
    // Children that have exited (a worker retiring) leave their time with the parent.
    if (self == pid)
      total += (std::atof(values[13].c_str()) + std::atof(values[14].c_str())) / ticks;
  }
  ::closedir(proc);
  return total;
}

namespace {

pid_t Spawn(const std::vector<std::string>& args, const std::string& log_path) {
  std::vector<std::string> copy = args;
  std::vector<char*> argv = Argv(copy);
  pid_t pid = ::fork();
  if (pid == 0) {
    int log = ::open(log_path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
    int null = ::open("/dev/null", O_RDONLY);
    ::dup2(null, 0);
    ::dup2(log, 1);
    ::dup2(log, 2);
    ::execv(argv[0], argv.data());
    ::_exit(127);
  }
  return pid;
}

}  // namespace

bool Run(const std::vector<std::string>& args, const std::string& log_path) {
  pid_t pid = Spawn(args, log_path);
  int status = 0;
  return pid > 0 && ::waitpid(pid, &status, 0) == pid && WIFEXITED(status) &&
         WEXITSTATUS(status) == 0;
}

BackgroundProcess::BackgroundProcess(const std::vector<std::string>& args,
                                     const std::string& log_path)
    : pid_(Spawn(args, log_path)) {}

BackgroundProcess::~BackgroundProcess() {
  if (pid_ <= 0) return;
  ::kill(pid_, SIGTERM);
  int status = 0;
  ::waitpid(pid_, &status, 0);
}

int FreePort() {
  int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  ::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address));
  socklen_t length = sizeof(address);
  ::getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  ::close(fd);
  return ntohs(address.sin_port);
}

double Now() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace Sonvik::bench
