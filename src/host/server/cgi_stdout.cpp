#include "host/server/cgi_stdout.h"

#include <sys/types.h>

#include "host/api/cgi_output.h"

namespace QUOR::server {
namespace {

// The hooks are plain functions; one request runs at a time in a worker.
ResponseWriter* g_writer = nullptr;

ssize_t CookieWrite(void* cookie, const char* data, size_t size) {
  static_cast<ResponseWriter*>(cookie)->WriteCgi(data, size);
  // Bytes for a vanished client are dropped, not failed: the handler learns of it through
  // OutputStillWanted and stops when it likes.
  return static_cast<ssize_t>(size);
}

bool SendFileHook(int fd, off_t offset, size_t count) {
  return g_writer != nullptr && g_writer->SendFile(fd, offset, count);
}

bool OutputWantedHook() { return g_writer == nullptr || g_writer->PeerPresent(); }

}  // namespace

CgiStdoutScope::CgiStdoutScope(ResponseWriter* writer) : saved_stdout_(stdout) {
  cookie_io_functions_t functions{};
  functions.write = &CookieWrite;
  stream_ = fopencookie(writer, "w", functions);
  if (stream_ != nullptr) stdout = stream_;
  g_writer = writer;
  SetSendFileHook(&SendFileHook);
  SetOutputWantedHook(&OutputWantedHook);
}

CgiStdoutScope::~CgiStdoutScope() {
  if (stream_ != nullptr) {
    std::fflush(stream_);
    stdout = saved_stdout_;
    std::fclose(stream_);
  }
  SetSendFileHook(nullptr);
  SetOutputWantedHook(nullptr);
  g_writer = nullptr;
}

}  // namespace QUOR::server
