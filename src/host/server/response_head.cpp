#include "host/server/response_head.h"

#include <strings.h>

#include <cstdio>

namespace QUOR::server {
namespace {

bool IsHostOwnedField(const std::string& name) {
  for (const char* owned : {"Connection", "Keep-Alive", "Transfer-Encoding", "Date"}) {
    if (strcasecmp(name.c_str(), owned) == 0) return true;
  }
  return false;
}

bool StatusHasNoBody(int status) { return status < 200 || status == 204 || status == 304; }

}  // namespace

Framing ChooseFraming(int status, bool head_request, bool has_content_length, bool http11,
                      bool keep_alive_wanted) {
  if (head_request || StatusHasNoBody(status)) {
    return {has_content_length ? BodyFraming::kContentLength : BodyFraming::kNone,
            keep_alive_wanted};
  }
  if (has_content_length) return {BodyFraming::kContentLength, keep_alive_wanted};
  if (http11) return {BodyFraming::kChunked, keep_alive_wanted};
  return {BodyFraming::kUntilClose, false};
}

std::string BuildResponseHead(const CgiHeaders& headers, const Framing& framing, time_t now) {
  std::string head = "HTTP/1.1 " + std::to_string(headers.status) + " " + headers.reason + "\r\n";
  head += "Date: " + FormatHttpDate(now) + "\r\n";
  for (const auto& [name, value] : headers.fields) {
    if (IsHostOwnedField(name)) continue;
    head += name + ": " + value + "\r\n";
  }
  if (headers.content_length && framing.body != BodyFraming::kChunked) {
    head += "Content-Length: " + std::to_string(*headers.content_length) + "\r\n";
  }
  if (framing.body == BodyFraming::kChunked) head += "Transfer-Encoding: chunked\r\n";
  head += framing.keep_alive ? "Connection: keep-alive\r\n" : "Connection: close\r\n";
  head += "\r\n";
  return head;
}

std::string FormatHttpDate(time_t when) {
  static constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
  static constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                            "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  struct tm utc {};
  gmtime_r(&when, &utc);
  char text[40];
  std::snprintf(text, sizeof(text), "%s, %02d %s %04d %02d:%02d:%02d GMT", kDays[utc.tm_wday],
                utc.tm_mday, kMonths[utc.tm_mon], utc.tm_year + 1900, utc.tm_hour, utc.tm_min,
                utc.tm_sec);
  return text;
}

}  // namespace QUOR::server
