#include "host/api/api_validator.h"

namespace QUOR {

bool APIValidator::IsBelong(const APIParameter<std::string>& param, const Json::Value& list) {
  if (!list.isArray()) return false;
  for (const auto& item : list) {
    if (item.isString() && item.asString() == param.Get()) return true;
  }
  return false;
}

}  // namespace QUOR
