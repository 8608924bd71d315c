#include "support/syslog_capture.h"

#include <syslog.h>

#include <cstdarg>
#include <cstdio>

namespace Sonvik::testing {

std::vector<LogLine>& CapturedLog() {
  static std::vector<LogLine> lines;
  return lines;
}

void ClearCapturedLog() { CapturedLog().clear(); }

}  // namespace Sonvik::testing

// Link-time double: the code under test calls this instead of the C library's syslog.
extern "C" void syslog(int priority, const char* format, ...) {
  char buffer[4096];
  va_list args;
  va_start(args, format);
  std::vsnprintf(buffer, sizeof(buffer), format, args);
  va_end(args);
  Sonvik::testing::CapturedLog().push_back({priority, buffer});
}
