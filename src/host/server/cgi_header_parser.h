#pragma once
// Reads the header block a CGI-style handler writes before its body:
//
//   Status: 206 Partial Content\r\n      (optional; 200 OK when absent, 302 with a Location)
//   Content-Type: audio/mpeg\r\n
//   Content-Length: 4096\r\n             (optional; the host frames the body accordingly)
//   \r\n                                 (end of the block; a bare "\n" is taken too)
//
// Pure and incremental: output arrives in whatever pieces the handler's stdio flushes.
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace QUOR::server {

struct CgiHeaders {
  int status = 200;
  std::string reason = "OK";
  // Every other field as given, in order, Content-Length excepted.
  std::vector<std::pair<std::string, std::string>> fields;
  std::optional<uint64_t> content_length;
};

class CgiHeaderParser {
 public:
  enum class State { kHeaders, kBody, kError };

  // Consumes header bytes from `data` and answers how many it took. When the blank line ends the
  // block, the state turns kBody and the bytes after the returned count are body bytes. In the
  // states kBody and kError nothing is taken.
  size_t Feed(std::string_view data);

  State state() const { return state_; }
  // Valid once the state is kBody.
  const CgiHeaders& headers() const { return headers_; }
  // Why the block was refused (state kError).
  const std::string& error() const { return error_; }
  // True when some header bytes arrived but the block is not complete yet.
  bool started() const { return bytes_seen_ > 0; }

 private:
  bool TakeLine(std::string_view line);
  void Fail(std::string reason);

  State state_ = State::kHeaders;
  CgiHeaders headers_;
  bool have_status_ = false;
  bool have_location_ = false;
  std::string partial_line_;
  size_t bytes_seen_ = 0;
  std::string error_;
};

// The standard reason phrase of an HTTP status, "Unknown" for an unlisted code.
const char* ReasonPhrase(int status);

}  // namespace QUOR::server
