#include "package/audio/cgi_writer.h"

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <vector>

#include "host/api/cgi_output.h"
#include "package/audio/http_date.h"

namespace Sonvik::audio {
namespace {

const char* ReasonPhrase(int status) {
  switch (status) {
    case 206:
      return "Partial Content";
    case 304:
      return "Not Modified";
    case 404:
      return "Not Found";
    case 416:
      return "Range Not Satisfiable";
    default:
      return "OK";
  }
}

constexpr size_t kCopyChunk = 64 * 1024;

}  // namespace

void HeaderBlock::Add(std::string_view name, std::string_view value) {
  lines_.append(name);
  lines_.append(": ");
  lines_.append(value);
  lines_.append("\r\n");
}

void HeaderBlock::Add(std::string_view name, uint64_t value) { Add(name, std::to_string(value)); }

void HeaderBlock::AddStatus(int status) {
  if (status == 200) return;
  Add("Status", std::to_string(status) + " " + ReasonPhrase(status));
}

bool HeaderBlock::Send() const {
  std::string text = Text();
  bool ok = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  return std::fflush(stdout) == 0 && ok;
}

HeaderBlock HeadersForPlan(const ResponsePlan& plan, uint64_t size, std::string_view content_type,
                           const Validators& validators) {
  HeaderBlock block;
  block.AddStatus(plan.status);
  switch (plan.status) {
    case 416:
      block.Add("Content-Range", "bytes */" + std::to_string(size));
      block.Add("Content-Length", uint64_t{0});
      return block;
    case 304:
      break;
    case 206:
      block.Add("Content-Type", content_type);
      block.Add("Content-Range", "bytes " + std::to_string(plan.first) + "-" +
                                     std::to_string(plan.first + plan.length - 1) + "/" +
                                     std::to_string(size));
      block.Add("Content-Length", plan.length);
      break;
    default:
      block.Add("Content-Type", content_type);
      block.Add("Content-Length", plan.length);
      break;
  }
  if (validators.last_modified >= 0) {
    block.Add("Last-Modified", FormatHttpDate(validators.last_modified));
  }
  if (!validators.etag.empty()) block.Add("ETag", validators.etag);
  return block;
}

bool WriteBody(const void* data, size_t size) { return std::fwrite(data, 1, size, stdout) == size; }

bool SendFileBody(int fd, uint64_t offset, uint64_t count) {
  if (count == 0) return true;
  if (QUOR::SendFileToOutput(fd, static_cast<off_t>(offset), count)) return true;
  if (!QUOR::OutputStillWanted()) return false;
  std::vector<char> buffer(kCopyChunk);
  while (count > 0) {
    size_t want = count < buffer.size() ? static_cast<size_t>(count) : buffer.size();
    ssize_t got = ::pread(fd, buffer.data(), want, static_cast<off_t>(offset));
    if (got < 0 && errno == EINTR) continue;
    // A file that shrank under us cannot fill the length already announced.
    if (got <= 0) return false;
    if (!WriteBody(buffer.data(), static_cast<size_t>(got))) return false;
    offset += static_cast<uint64_t>(got);
    count -= static_cast<uint64_t>(got);
  }
  return std::fflush(stdout) == 0;
}

}  // namespace Sonvik::audio
