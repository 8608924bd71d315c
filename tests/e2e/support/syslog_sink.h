#pragma once
// Captures what processes of the test namespace send to syslog: a unix datagram socket bound at
// /dev/log (inside the /dev overlay of PrepareTestMachine) and a thread that collects the lines.
#include <atomic>
#include <chrono>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace Sonvik::e2e {

struct SyslogLine {
  int priority = 0;   // facility * 8 + severity, as sent
  std::string ident;  // "sonvik"
  int pid = 0;
  std::string message;  // after "ident[pid]: "

  int severity() const { return priority & 7; }
};

class SyslogSink {
 public:
  // Binds /dev/log; aborts the test program when that is impossible.
  SyslogSink();
  ~SyslogSink();
  SyslogSink(const SyslogSink&) = delete;
  SyslogSink& operator=(const SyslogSink&) = delete;

  std::vector<SyslogLine> Lines() const;
  void Clear();
  // Lines whose message contains `text`.
  std::vector<SyslogLine> Matching(const std::string& text) const;
  // Waits until a line containing `text` has arrived (the server logs asynchronously to the
  // test); the bound only keeps a broken server from hanging the test. True when it came.
  bool WaitFor(const std::string& text,
               std::chrono::milliseconds bound = std::chrono::seconds(20)) const;

  // Parses one datagram as glibc's syslog(3) writes it: "<PRI>Mmm dd hh:mm:ss ident[pid]: msg".
  static SyslogLine Parse(const std::string& datagram);

 private:
  void ReadLoop();

  int fd_ = -1;
  int wake_[2] = {-1, -1};
  std::thread reader_;
  mutable std::mutex mutex_;
  std::vector<SyslogLine> lines_;
};

}  // namespace Sonvik::e2e
