#include "package/audio/request_headers.h"

#include <cstdlib>
#include <cstring>

namespace Sonvik::audio {
namespace {

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? std::string() : std::string(value);
}

}  // namespace

RequestHeaders RequestHeaders::FromEnvironment() {
  RequestHeaders headers;
  const char* method = std::getenv("REQUEST_METHOD");
  headers.head = method != nullptr && std::strcmp(method, "HEAD") == 0;
  headers.range = Variable("HTTP_RANGE");
  headers.if_range = Variable("HTTP_IF_RANGE");
  headers.if_none_match = Variable("HTTP_IF_NONE_MATCH");
  headers.if_modified_since = Variable("HTTP_IF_MODIFIED_SINCE");
  return headers;
}

}  // namespace Sonvik::audio
