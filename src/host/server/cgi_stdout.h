#pragma once
// Makes C stdio `stdout` the request's CGI output while a handler runs: a glibc cookie stream
// feeding the ResponseWriter, plus the host hooks for sendfile and for "is the peer still there".
#include <cstdio>

#include "host/server/response_writer.h"

namespace QUOR::server {

class CgiStdoutScope {
 public:
  explicit CgiStdoutScope(ResponseWriter* writer);
  // Flushes what the handler left in the stream, then puts the process's stdout back.
  ~CgiStdoutScope();
  CgiStdoutScope(const CgiStdoutScope&) = delete;
  CgiStdoutScope& operator=(const CgiStdoutScope&) = delete;

 private:
  FILE* saved_stdout_;
  FILE* stream_ = nullptr;
};

}  // namespace QUOR::server
