#pragma once
// Reads one HTTP/1.x request at a time from a connection's bytes with http-parser, under the
// head, field-count, URL and body limits. The master owns one per connection; bytes after a
// complete request (pipelining) are left unconsumed for the next one.
#include <http_parser.h>

#include <string_view>

#include "host/server/http_request.h"

namespace QUOR::server {

class RequestReader {
 public:
  enum class Status { kNeedMore, kComplete, kError };

  RequestReader();
  RequestReader(const RequestReader&) = delete;
  RequestReader& operator=(const RequestReader&) = delete;

  // Makes ready for the next request on the same connection.
  void Reset();

  // Parses from `data`; `*consumed` tells how many bytes were taken. kComplete leaves the bytes
  // after the request untaken. After kError, error_status() holds the HTTP status to answer.
  Status Feed(std::string_view data, size_t* consumed);

  // True once any byte of the current request arrived (the head deadline runs from then).
  bool started() const { return started_; }
  bool head_complete() const { return head_complete_; }
  // The client asked for "100 Continue" before sending its body; cleared by the call.
  bool TakeContinueRequest();
  int error_status() const { return error_status_; }

  // The request read; valid after kComplete.
  HttpRequest& request() { return request_; }

 private:
  static int OnMessageBegin(http_parser* parser);
  static int OnUrl(http_parser* parser, const char* at, size_t length);
  static int OnHeaderField(http_parser* parser, const char* at, size_t length);
  static int OnHeaderValue(http_parser* parser, const char* at, size_t length);
  static int OnHeadersComplete(http_parser* parser);
  static int OnBody(http_parser* parser, const char* at, size_t length);
  static int OnMessageComplete(http_parser* parser);

  http_parser parser_{};
  http_parser_settings settings_{};
  HttpRequest request_;
  bool started_ = false;
  bool head_complete_ = false;
  bool complete_ = false;
  bool in_value_ = false;
  bool continue_requested_ = false;
  int error_status_ = 0;
};

}  // namespace QUOR::server
