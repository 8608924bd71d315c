#include "package/audio/http_date.h"

#include <cstdio>

namespace Sonvik::audio {
namespace {

constexpr const char* kDays[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
constexpr const char* kMonths[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                   "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

bool ReadNumber(std::string_view text, size_t at, size_t digits, int* out) {
  int value = 0;
  for (size_t i = at; i < at + digits; ++i) {
    if (text[i] < '0' || text[i] > '9') return false;
    value = value * 10 + (text[i] - '0');
  }
  *out = value;
  return true;
}

}  // namespace

std::string FormatHttpDate(time_t when) {
  struct tm parts {};
  gmtime_r(&when, &parts);
  char text[40];
  std::snprintf(text, sizeof(text), "%s, %02d %s %04d %02d:%02d:%02d GMT", kDays[parts.tm_wday],
                parts.tm_mday, kMonths[parts.tm_mon], parts.tm_year + 1900, parts.tm_hour,
                parts.tm_min, parts.tm_sec);
  return text;
}

std::optional<time_t> ParseHttpDate(std::string_view text) {
  // "Sun, 06 Nov 1994 08:49:37 GMT": fixed positions, 29 bytes.
  if (text.size() != 29 || text.substr(3, 2) != ", " || text[7] != ' ' || text[11] != ' ' ||
      text[16] != ' ' || text[19] != ':' || text[22] != ':' || text.substr(25) != " GMT") {
    return std::nullopt;
  }
  struct tm parts {};
  int month = -1;
  for (int i = 0; i < 12; ++i) {
    if (text.substr(8, 3) == kMonths[i]) month = i;
  }
  int year = 0;
  if (month < 0 || !ReadNumber(text, 5, 2, &parts.tm_mday) || !ReadNumber(text, 12, 4, &year) ||
      !ReadNumber(text, 17, 2, &parts.tm_hour) || !ReadNumber(text, 20, 2, &parts.tm_min) ||
      !ReadNumber(text, 23, 2, &parts.tm_sec)) {
    return std::nullopt;
  }
  if (parts.tm_mday < 1 || parts.tm_mday > 31 || parts.tm_hour > 23 || parts.tm_min > 59 ||
      parts.tm_sec > 60) {
    return std::nullopt;
  }
  parts.tm_mon = month;
  parts.tm_year = year - 1900;
  return timegm(&parts);
}

}  // namespace Sonvik::audio
