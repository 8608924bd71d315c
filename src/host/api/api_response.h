#pragma once
// What a handler answers: success with a JSON object, or an error code with optional data.
// A media handler switches the JSON output off and writes CGI output on stdout instead.
#include <json/value.h>

namespace QUOR {

class APIResponse {
 public:
  enum class State { kUnanswered, kSuccess, kError };

  void SetSuccess(const Json::Value& data);
  void SetError(int code, const Json::Value& data = Json::Value());
  void SetEnableOutput(bool enabled) { output_enabled_ = enabled; }

  State state() const { return state_; }
  int error_code() const { return error_code_; }
  const Json::Value& data() const { return data_; }
  bool output_enabled() const { return output_enabled_; }

  // The answer envelope as the host sends it; an unanswered response is error 107.
  Json::Value Envelope() const;

 private:
  State state_ = State::kUnanswered;
  int error_code_ = 0;
  Json::Value data_;
  bool output_enabled_ = true;
};

}  // namespace QUOR
