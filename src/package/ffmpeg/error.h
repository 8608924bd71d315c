#pragma once
// FFmpeg failures as exceptions inside the package; callers at the library's edge turn them into
// the documented results.
#include <stdexcept>
#include <string>

namespace Sonvik::ffmpeg {

class Error : public std::runtime_error {
 public:
  Error(const std::string& what, int code);
  int code() const { return code_; }

 private:
  int code_;
};

// The library's text for an AVERROR code.
std::string ErrorText(int code);

// Throws Error("<what>: <text>") when `code` is negative; returns it otherwise.
int Check(int code, const char* what);

}  // namespace Sonvik::ffmpeg
