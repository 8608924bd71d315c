#pragma once
// The real `sonvik serve`, started on a free loopback port and stopped with SIGTERM.
#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Sonvik::e2e {

class SonvikServer {
 public:
  SonvikServer() = default;
  // Stops the server if it still runs.
  ~SonvikServer();
  SonvikServer(const SonvikServer&) = delete;
  SonvikServer& operator=(const SonvikServer&) = delete;

  // Starts `sonvik serve --listen 127.0.0.1:<free port> --workers <workers>` plus `extra_args`
  // and waits until it answers QUOR.API.Info query. False (with the server's stderr in
  // startup_error()) when it exits or does not answer.
  bool Start(const std::string& workers = "2:8", const std::vector<std::string>& extra_args = {});
  // SIGTERM, then waits for the exit; answers the exit status (-1 when it had to be killed).
  int Stop();
  bool running() const { return pid_ > 0; }

  uint16_t port() const { return port_; }
  pid_t pid() const { return pid_; }
  std::string base_url() const;
  // What the server wrote on stderr so far (the foreground log).
  std::string StderrText() const;
  const std::string& startup_error() const { return startup_error_; }
  // The worker processes: the server's children, from /proc.
  std::vector<pid_t> WorkerPids() const;

  // A loopback port nothing listens on now.
  static uint16_t FreePort();

 private:
  pid_t pid_ = -1;
  uint16_t port_ = 0;
  std::string stderr_path_;
  std::string startup_error_;
};

}  // namespace Sonvik::e2e
