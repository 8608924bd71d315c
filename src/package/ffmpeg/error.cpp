#include "package/ffmpeg/error.h"

extern "C" {
#include <libavutil/error.h>
}

namespace Sonvik::ffmpeg {

Error::Error(const std::string& what, int code) : std::runtime_error(what), code_(code) {}

std::string ErrorText(int code) {
  char text[AV_ERROR_MAX_STRING_SIZE] = {};
  av_strerror(code, text, sizeof(text));
  return text;
}

int Check(int code, const char* what) {
  if (code < 0) throw Error(std::string(what) + ": " + ErrorText(code), code);
  return code;
}

}  // namespace Sonvik::ffmpeg
