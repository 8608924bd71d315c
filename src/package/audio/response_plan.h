#pragma once
// Which answer a media request gets (200, 206, 304 or 416) and which bytes it carries, decided
// from the request's conditional and Range headers and the representation's validators.
#include <cstdint>
#include <ctime>
#include <string>
#include <string_view>

#include "package/audio/request_headers.h"

namespace Sonvik::audio {

struct Validators {
  std::string etag;           // strong entity tag with its quotes, e.g. "\"1f3a-5e2c\""
  time_t last_modified = -1;  // -1: none
};

struct ResponsePlan {
  int status = 200;     // 200, 206, 304 or 416
  uint64_t first = 0;   // first byte sent (206)
  uint64_t length = 0;  // bytes of body (200: the size; 206: the range; 304/416: 0)
};

ResponsePlan PlanResponse(const RequestHeaders& request, const Validators& validators,
                          uint64_t size);

// If-None-Match against our tag: "*" or any listed tag equal to it, W/ prefixes ignored.
bool IfNoneMatchMatches(std::string_view header, std::string_view etag);

}  // namespace Sonvik::audio
