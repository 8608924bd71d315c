#include "host/api/api_request.h"

#include <cerrno>
#include <climits>
#include <cstdlib>

namespace QUOR {
namespace {

bool ParseInt32(const std::string& text, int* out) {
  if (text.empty()) return false;
  size_t i = (text[0] == '-' || text[0] == '+') ? 1 : 0;
  if (i == text.size()) return false;
  for (size_t j = i; j < text.size(); ++j) {
    if (text[j] < '0' || text[j] > '9') return false;
  }
  errno = 0;
  long long value = std::strtoll(text.c_str(), nullptr, 10);
  if (errno == ERANGE || value < INT_MIN || value > INT_MAX) return false;
  *out = static_cast<int>(value);
  return true;
}

}  // namespace

APIParameter<int> APIRequest::GetAndCheckInt(const std::string& name, PARAM_NECESSITY necessity,
                                             const APIValidator* /*validator*/) const {
  auto it = params_.find(name);
  if (it == params_.end()) return {false, necessity == PARAM_REQUIRED, 0};
  int value = 0;
  if (!ParseInt32(it->second, &value)) return {true, true, 0};
  return {true, false, value};
}

APIParameter<std::string> APIRequest::GetAndCheckString(const std::string& name,
                                                        PARAM_NECESSITY necessity,
                                                        const APIValidator* /*validator*/) const {
  auto it = params_.find(name);
  if (it == params_.end()) return {false, necessity == PARAM_REQUIRED, std::string()};
  return {true, false, it->second};
}

}  // namespace QUOR
