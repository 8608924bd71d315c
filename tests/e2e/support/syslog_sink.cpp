#include "e2e/support/syslog_sink.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Sonvik::e2e {

SyslogSink::SyslogSink() {
  fd_ = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, "/dev/log", sizeof(address.sun_path) - 1);
  unlink("/dev/log");
  if (fd_ < 0 || bind(fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0 ||
      pipe2(wake_, O_CLOEXEC) != 0) {
    std::fprintf(stderr, "e2e setup: cannot bind /dev/log: %s\n", std::strerror(errno));
    std::abort();
  }
  // The server writes with the service account's ids.
  chmod("/dev/log", 0666);
  int size = 4 * 1024 * 1024;
  setsockopt(fd_, SOL_SOCKET, SO_RCVBUF, &size, sizeof(size));
  reader_ = std::thread([this] { ReadLoop(); });
}

SyslogSink::~SyslogSink() {
  (void)write(wake_[1], "x", 1);
  reader_.join();
  close(fd_);
  close(wake_[0]);
  close(wake_[1]);
  unlink("/dev/log");
}

void SyslogSink::ReadLoop() {
  char buffer[8192];
  for (;;) {
    pollfd entries[2] = {{fd_, POLLIN, 0}, {wake_[0], POLLIN, 0}};
    if (poll(entries, 2, -1) < 0) continue;
    if (entries[0].revents & POLLIN) {
      ssize_t got = recv(fd_, buffer, sizeof(buffer), 0);
      if (got > 0) {
        SyslogLine line = Parse(std::string(buffer, static_cast<size_t>(got)));
        std::lock_guard lock(mutex_);
        lines_.push_back(std::move(line));
      }
      continue;  // drain everything before looking at the wake pipe
    }
    if (entries[1].revents & POLLIN) return;
  }
}

SyslogLine SyslogSink::Parse(const std::string& datagram) {
  SyslogLine line;
  std::string rest = datagram;
  if (!rest.empty() && rest[0] == '<') {
    size_t close = rest.find('>');
    if (close != std::string::npos) {
      line.priority = std::atoi(rest.substr(1, close - 1).c_str());
      rest = rest.substr(close + 1);
    }
  }
  // "Nov 21 05:57:19 " is 16 characters.
  if (rest.size() > 16 && rest[3] == ' ' && rest[15] == ' ') rest = rest.substr(16);
  size_t colon = rest.find(": ");
  if (colon != std::string::npos) {
    std::string tag = rest.substr(0, colon);
    size_t bracket = tag.find('[');
    line.ident = tag.substr(0, bracket);
    if (bracket != std::string::npos) line.pid = std::atoi(tag.c_str() + bracket + 1);
    rest = rest.substr(colon + 2);
  }
  while (!rest.empty() && (rest.back() == '\n' || rest.back() == '\0')) rest.pop_back();
  line.message = rest;
  return line;
}

std::vector<SyslogLine> SyslogSink::Lines() const {
  std::lock_guard lock(mutex_);
  return lines_;
}

void SyslogSink::Clear() {
  std::lock_guard lock(mutex_);
  lines_.clear();
}

std::vector<SyslogLine> SyslogSink::Matching(const std::string& text) const {
  std::vector<SyslogLine> found;
  std::lock_guard lock(mutex_);
  for (const SyslogLine& line : lines_) {
    if (line.message.find(text) != std::string::npos) found.push_back(line);
  }
  return found;
}

bool SyslogSink::WaitFor(const std::string& text, std::chrono::milliseconds bound) const {
  auto until = std::chrono::steady_clock::now() + bound;
  while (std::chrono::steady_clock::now() < until) {
    if (!Matching(text).empty()) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

}  // namespace Sonvik::e2e
