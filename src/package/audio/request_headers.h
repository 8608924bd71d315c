#pragma once
// The request headers that shape a media answer, as the host hands them over: CGI environment
// variables (HTTP_RANGE, HTTP_IF_RANGE, HTTP_IF_NONE_MATCH, HTTP_IF_MODIFIED_SINCE,
// REQUEST_METHOD).
#include <string>

namespace Sonvik::audio {

struct RequestHeaders {
  bool head = false;  // HEAD: the header block only
  std::string range;
  std::string if_range;
  std::string if_none_match;
  std::string if_modified_since;

  static RequestHeaders FromEnvironment();
};

}  // namespace Sonvik::audio
