#pragma once
// Unit tests link a stand-in for syslog(3) that records each line with its priority.
#include <string>
#include <vector>

namespace Sonvik::testing {

struct LogLine {
  int priority;
  std::string text;
};

std::vector<LogLine>& CapturedLog();
void ClearCapturedLog();

}  // namespace Sonvik::testing
