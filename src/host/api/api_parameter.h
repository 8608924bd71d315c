#pragma once
// A typed request parameter as a check function or handler sees it.
//
// IsSet() is true exactly when the request carried the parameter, whatever its text.
// IsInvalid() is true when a required parameter is missing, or when the text does not convert to
// the parameter's type (then IsSet() is true as well). SetDefault() gives an unset parameter a
// value and makes it valid; it never makes IsSet() true.
#include <utility>

namespace QUOR {

template <typename T>
class APIParameter {
 public:
  APIParameter() = default;
  APIParameter(bool is_set, bool is_invalid, T value)
      : is_set_(is_set), is_invalid_(is_invalid), value_(std::move(value)) {}

  bool IsSet() const { return is_set_; }
  bool IsInvalid() const { return is_invalid_; }
  const T& Get() const { return value_; }

  void SetDefault(const T& value) {
    if (is_set_) return;
    value_ = value;
    is_invalid_ = false;
  }

 private:
  bool is_set_ = false;
  bool is_invalid_ = false;
  T value_{};
};

}  // namespace QUOR
