#pragma once
#include <json/value.h>

#include <string>

namespace QUOR {

class WebAPIUtil {
 public:
  // Parses JSON text; answers a null value when the text is not valid JSON.
  static Json::Value ParseJson(const std::string& text);
  // Compact one-line JSON, as the host sends it.
  static std::string ToCompactString(const Json::Value& value);
};

}  // namespace QUOR
