#pragma once
// The status line and header fields the host sends ahead of a body: the handler's CGI fields
// plus Date, the framing the host chose and the connection's fate. Pure.
#include <ctime>
#include <string>

#include "host/server/cgi_header_parser.h"

namespace QUOR::server {

enum class BodyFraming {
  kNone,           // no body may follow (HEAD, 1xx, 204, 304)
  kContentLength,  // exactly Content-Length bytes
  kChunked,        // HTTP/1.1 chunked transfer coding
  kUntilClose,     // HTTP/1.0 without a length: the body ends when the connection closes
};

struct Framing {
  BodyFraming body = BodyFraming::kChunked;
  bool keep_alive = true;
};

// How a body of a response with `status` goes out. `keep_alive_wanted` is what the request
// allows (http_should_keep_alive).
Framing ChooseFraming(int status, bool head_request, bool has_content_length, bool http11,
                      bool keep_alive_wanted);

// "HTTP/1.1 <status> <reason>\r\n" and the fields, then the blank line. The handler's own
// Connection, Keep-Alive, Transfer-Encoding and Date fields are replaced by the host's.
std::string BuildResponseHead(const CgiHeaders& headers, const Framing& framing, time_t now);

// An IMF-fixdate: "Sun, 06 Nov 1994 08:49:37 GMT".
std::string FormatHttpDate(time_t when);

}  // namespace QUOR::server
