#pragma once
// Child processes of the benchmarks: commands run to completion, and servers in the background.
#include <sys/types.h>

#include <string>
#include <vector>

namespace Sonvik::bench {

// Runs `args` (args[0] an absolute path) with `input` on stdin; exits the benchmark with the
// command's stderr when it fails. Answers its stdout.
std::string RunOrDie(const std::vector<std::string>& args, const std::string& input = "");

// Runs `args` (args[0] an absolute path) to completion with stdout and stderr appended to
// `log_path`; answers whether it exited with status 0.
bool Run(const std::vector<std::string>& args, const std::string& log_path = "/dev/null");

// Runs `args` to completion like RunOrDie and answers the CPU seconds (user + system) it used.
double RunAndMeasureCpu(const std::vector<std::string>& args);

// CPU seconds (user + system) used so far by process `pid` and its direct children, those that
// have exited included.
double ProcessTreeCpuSeconds(pid_t pid);

// A process started in the background with stdout and stderr appended to `log_path`; SIGTERM
// and wait on destruction.
class BackgroundProcess {
 public:
  BackgroundProcess(const std::vector<std::string>& args, const std::string& log_path);
  ~BackgroundProcess();
  BackgroundProcess(const BackgroundProcess&) = delete;
  BackgroundProcess& operator=(const BackgroundProcess&) = delete;

  pid_t pid() const { return pid_; }

 private:
  pid_t pid_ = -1;
};

// A loopback TCP port nothing listens on now.
int FreePort();

// Seconds since an arbitrary start, monotonic.
double Now();

}  // namespace Sonvik::bench
