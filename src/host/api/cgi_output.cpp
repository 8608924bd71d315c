#include "host/api/cgi_output.h"

#include <cstdio>

namespace QUOR {
namespace {
SendFileHook g_send_file_hook = nullptr;
OutputWantedHook g_output_wanted_hook = nullptr;
}  // namespace

void SetSendFileHook(SendFileHook hook) { g_send_file_hook = hook; }
void SetOutputWantedHook(OutputWantedHook hook) { g_output_wanted_hook = hook; }

bool SendFileToOutput(int fd, off_t offset, size_t count) {
  if (g_send_file_hook == nullptr) return false;
  std::fflush(stdout);
  return g_send_file_hook(fd, offset, count);
}

bool OutputStillWanted() { return g_output_wanted_hook == nullptr || g_output_wanted_hook(); }

}  // namespace QUOR
