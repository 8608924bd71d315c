#include "host/server/cgi_header_parser.h"

#include <strings.h>

#include <charconv>

#include "host/server/http_limits.h"

namespace QUOR::server {
namespace {

bool IsTokenChar(char c) {
  if ((c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9')) return true;
  return std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

std::string_view Trim(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

bool EqualsNoCase(std::string_view a, const char* b) {
  return a.size() == std::char_traits<char>::length(b) && strncasecmp(a.data(), b, a.size()) == 0;
}

}  // namespace

void CgiHeaderParser::Fail(std::string reason) {
  state_ = State::kError;
  error_ = std::move(reason);
}

size_t CgiHeaderParser::Feed(std::string_view data) {
  size_t taken = 0;
  while (state_ == State::kHeaders && taken < data.size()) {
    size_t newline = data.find('\n', taken);
    size_t end = newline == std::string_view::npos ? data.size() : newline + 1;
    size_t piece = end - taken;
    bytes_seen_ += piece;
    if (bytes_seen_ > limits::kMaxHeadBytes) {
      Fail("header block too large");
      return taken + piece;
    }
    partial_line_.append(data.substr(taken, piece));
    taken = end;
    if (newline == std::string_view::npos) break;
    std::string_view line(partial_line_);
    line.remove_suffix(1);
    if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
    bool ok = TakeLine(line);
    partial_line_.clear();
    if (!ok) return taken;
  }
  return taken;
}

bool CgiHeaderParser::TakeLine(std::string_view line) {
  if (line.empty()) {
    if (have_location_ && !have_status_) {
      headers_.status = 302;
      headers_.reason = ReasonPhrase(302);
    }
    state_ = State::kBody;
    return true;
  }
  if (line.find('\r') != std::string_view::npos || line.find('\0') != std::string_view::npos) {
    Fail("control character in a header line");
    return false;
  }
  if (line.front() == ' ' || line.front() == '\t') {
    Fail("folded header line");
    return false;
  }
  size_t colon = line.find(':');
  if (colon == std::string_view::npos || colon == 0) {
    Fail("header line without a name");
    return false;
  }
  std::string_view name = line.substr(0, colon);
  for (char c : name) {
    if (!IsTokenChar(c)) {
      Fail("bad character in a header name");
      return false;
    }
  }
  std::string_view value = Trim(line.substr(colon + 1));
  if (EqualsNoCase(name, "Status")) {
    int status = 0;
    auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), status);
    if (ec != std::errc() || end - value.data() != 3 || status < 100 || status > 599 ||
        (end != value.data() + value.size() && *end != ' ')) {
      Fail("bad Status line");
      return false;
    }
    std::string_view reason = Trim(value.substr(3));
    headers_.status = status;
    headers_.reason = reason.empty() ? ReasonPhrase(status) : std::string(reason);
    have_status_ = true;
    return true;
  }
  if (EqualsNoCase(name, "Content-Length")) {
    uint64_t length = 0;
    auto [end, ec] = std::from_chars(value.data(), value.data() + value.size(), length);
    if (value.empty() || ec != std::errc() || end != value.data() + value.size()) {
      Fail("bad Content-Length");
      return false;
    }
    if (headers_.content_length && *headers_.content_length != length) {
      Fail("conflicting Content-Length");
      return false;
    }
    headers_.content_length = length;
    return true;
  }
  if (EqualsNoCase(name, "Location")) have_location_ = true;
  headers_.fields.emplace_back(std::string(name), std::string(value));
  return true;
}

const char* ReasonPhrase(int status) {
  switch (status) {
    case 100:
      return "Continue";
    case 200:
      return "OK";
    case 201:
      return "Created";
    case 204:
      return "No Content";
    case 206:
      return "Partial Content";
    case 301:
      return "Moved Permanently";
    case 302:
      return "Found";
    case 304:
      return "Not Modified";
    case 400:
      return "Bad Request";
    case 401:
      return "Unauthorized";
    case 403:
      return "Forbidden";
    case 404:
      return "Not Found";
    case 405:
      return "Method Not Allowed";
    case 408:
      return "Request Timeout";
    case 411:
      return "Length Required";
    case 412:
      return "Precondition Failed";
    case 413:
      return "Content Too Large";
    case 414:
      return "URI Too Long";
    case 415:
      return "Unsupported Media Type";
    case 416:
      return "Range Not Satisfiable";
    case 431:
      return "Request Header Fields Too Large";
    case 500:
      return "Internal Server Error";
    case 501:
      return "Not Implemented";
    case 503:
      return "Service Unavailable";
    case 505:
      return "HTTP Version Not Supported";
    default:
      return "Unknown";
  }
}

}  // namespace QUOR::server
