#pragma once
// Writing a raw (CGI) answer on stdout: one header block, then the body.
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "package/audio/response_plan.h"

namespace Sonvik::audio {

// CGI header lines collected first and written in one go, so a half-built block never goes out.
class HeaderBlock {
 public:
  void Add(std::string_view name, std::string_view value);
  void Add(std::string_view name, uint64_t value);
  // "Status: 206 Partial Content" and friends; nothing for 200, which is the CGI default.
  void AddStatus(int status);
  // The lines plus the blank line that ends them.
  std::string Text() const { return lines_ + "\r\n"; }
  // Writes Text() to stdout and flushes. False when stdout failed.
  bool Send() const;

 private:
  std::string lines_;
};

// The header lines that go with `plan` for a representation of `size` bytes: the status,
// Content-Type and Content-Length (Content-Range for 206 and 416) and the validators.
HeaderBlock HeadersForPlan(const ResponsePlan& plan, uint64_t size, std::string_view content_type,
                           const Validators& validators);

// Body bytes through stdout. False when stdout failed (the peer is gone).
bool WriteBody(const void* data, size_t size);
// `count` bytes of `fd` from `offset` as body: sendfile through the host when it offers it,
// otherwise read and written through stdout. False when the file or the output failed.
bool SendFileBody(int fd, uint64_t offset, uint64_t count);

}  // namespace Sonvik::audio
