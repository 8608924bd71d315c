#pragma once
// Child processes for the scan benchmark.
#include <sys/types.h>

#include <string>
#include <vector>

namespace Sonvik::bench {

// Runs `args` (args[0] an absolute path) to completion with stdout and stderr into `log_path`
// ("/dev/null" to drop them); answers whether it exited with status 0.
bool Run(const std::vector<std::string>& args, const std::string& log_path = "/dev/null");

// Runs a program in the background; stops it (SIGTERM, then wait) on destruction.
class Background {
 public:
  Background(const std::vector<std::string>& args, const std::string& log_path);
  ~Background();
  Background(const Background&) = delete;
  Background& operator=(const Background&) = delete;

 private:
  pid_t pid_ = -1;
};

// Seconds on a monotonic clock.
double Now();

}  // namespace Sonvik::bench
