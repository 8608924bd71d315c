#include "e2e/support/sonvik_server.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "e2e/support/http_client.h"
#include "e2e/support/test_machine.h"

namespace Sonvik::e2e {
namespace {

// Guards against a server that hangs; far beyond what a healthy one needs.
constexpr auto kStartBound = std::chrono::seconds(30);
constexpr auto kStopBound = std::chrono::seconds(30);

bool Exited(pid_t pid, int* status) { return waitpid(pid, status, WNOHANG) == pid; }

}  // namespace

SonvikServer::~SonvikServer() {
  if (running()) Stop();
  if (!stderr_path_.empty()) std::filesystem::remove(stderr_path_);
}

uint16_t SonvikServer::FreePort() {
  int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address));
  socklen_t length = sizeof(address);
  getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
  close(fd);
  return ntohs(address.sin_port);
}

std::string SonvikServer::base_url() const { return "http://127.0.0.1:" + std::to_string(port_); }

std::string SonvikServer::StderrText() const {
  std::ifstream in(stderr_path_);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

bool SonvikServer::Start(const std::string& workers, const std::vector<std::string>& extra_args) {
  PrepareTestMachine();
  port_ = FreePort();
  // The namespace's own tmpfs: nothing is left behind outside it.
  stderr_path_ = "/var/packages/.e2e-serve-" + std::to_string(port_) + ".err";
  std::string binary = SonvikBinary();
  std::vector<std::string> args = {
      binary, "serve", "--listen", "127.0.0.1:" + std::to_string(port_), "--workers", workers};
  args.insert(args.end(), extra_args.begin(), extra_args.end());
  std::vector<char*> argv;
  for (std::string& arg : args) argv.push_back(arg.data());
  argv.push_back(nullptr);
  pid_ = fork();
  if (pid_ == 0) {
    int err = open(stderr_path_.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    int null = open("/dev/null", O_RDWR | O_CLOEXEC);
    dup2(null, 0);
    dup2(null, 1);
    dup2(err, 2);
    // A fresh signal state: the test program may block or ignore some.
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
    signal(SIGPIPE, SIG_DFL);
    // The server serves with switched effective ids, which makes it non-dumpable; a leak check
    // at its exit cannot stop the world then and fails the run. Leaks are the unit tests' job.
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1);
    execv(binary.c_str(), argv.data());
    _exit(127);
  }
  HttpClient client(base_url());
  auto until = std::chrono::steady_clock::now() + kStartBound;
  while (std::chrono::steady_clock::now() < until) {
    int status = 0;
    if (Exited(pid_, &status)) {
      pid_ = -1;
      startup_error_ = "sonvik serve exited at start:\n" + StderrText();
      return false;
    }
    if (client.Call("QUOR.API.Info", "query").status == 200) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
  startup_error_ = "sonvik serve did not answer:\n" + StderrText();
  Stop();
  return false;
}

int SonvikServer::Stop() {
  if (pid_ <= 0) return -1;
  kill(pid_, SIGTERM);
  auto until = std::chrono::steady_clock::now() + kStopBound;
  int status = 0;
  while (std::chrono::steady_clock::now() < until) {
    if (Exited(pid_, &status)) {
      pid_ = -1;
      return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  kill(pid_, SIGKILL);
  waitpid(pid_, &status, 0);
  pid_ = -1;
  return -1;
}

std::vector<pid_t> SonvikServer::WorkerPids() const {
  std::vector<pid_t> workers;
  if (pid_ <= 0) return workers;
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    std::string name = entry.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    std::ifstream stat(entry.path() / "stat");
    std::string line;
    if (!std::getline(stat, line)) continue;
    // pid (comm) state ppid ...: the command may hold blanks, so start after the last ')'.
    size_t close = line.rfind(')');
    if (close == std::string::npos) continue;
    std::istringstream fields(line.substr(close + 2));
    char state;
    pid_t parent = 0;
    fields >> state >> parent;
    if (parent == pid_ && state != 'Z') workers.push_back(std::stoi(name));
  }
  return workers;
}

}  // namespace Sonvik::e2e
