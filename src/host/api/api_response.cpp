#include "host/api/api_response.h"

namespace QUOR {

void APIResponse::SetSuccess(const Json::Value& data) {
  state_ = State::kSuccess;
  error_code_ = 0;
  data_ = data;
}

void APIResponse::SetError(int code, const Json::Value& data) {
  state_ = State::kError;
  error_code_ = code;
  data_ = data;
}

Json::Value APIResponse::Envelope() const {
  Json::Value envelope(Json::objectValue);
  if (state_ == State::kSuccess) {
    envelope["success"] = true;
    envelope["data"] = data_;
    return envelope;
  }
  envelope["success"] = false;
  Json::Value error(Json::objectValue);
  error["code"] = state_ == State::kError ? error_code_ : 107;
  if (state_ == State::kError && !data_.isNull()) error["detail"] = data_;
  envelope["error"] = error;
  return envelope;
}

}  // namespace QUOR
