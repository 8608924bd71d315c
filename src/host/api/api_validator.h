#pragma once
// Small composable predicates over typed parameters. Each one only compares values: whether the
// parameter is present is the caller's question (IsSet), so a rule reads "set and IsGreater(...)".
#include <json/value.h>

#include <string>

#include "host/api/api_parameter.h"

namespace QUOR {

class APIValidator {
 public:
  static bool IsGreater(const APIParameter<int>& param, int bound) { return param.Get() > bound; }
  static bool IsLess(const APIParameter<int>& param, int bound) { return param.Get() < bound; }
  // Both bounds belong to the range.
  static bool IsBetween(const APIParameter<int>& param, int low, int high) {
    return param.Get() >= low && param.Get() <= high;
  }
  static bool IsEqual(const APIParameter<std::string>& param, const std::string& value) {
    return param.Get() == value;
  }
  static bool IsEqual(const APIParameter<int>& param, int value) { return param.Get() == value; }
  // True when the value equals one of the strings of a JSON array; false for anything else,
  // including a list that is not an array.
  static bool IsBelong(const APIParameter<std::string>& param, const Json::Value& list);
};

}  // namespace QUOR
