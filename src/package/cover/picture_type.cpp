#include "package/cover/picture_type.h"

namespace Sonvik::webapi::cover {

std::string_view PictureExtension(std::string_view bytes) {
  if (bytes.substr(0, 3) == "\xFF\xD8\xFF") return "jpg";
  if (bytes.substr(0, 8) == "\x89PNG\r\n\x1A\n") return "png";
  if (bytes.size() >= 12 && bytes.substr(0, 4) == "RIFF" && bytes.substr(8, 4) == "WEBP") {
    return "webp";
  }
  if (bytes.substr(0, 6) == "GIF87a" || bytes.substr(0, 6) == "GIF89a") return "gif";
  if (bytes.size() >= 26 && bytes.substr(0, 2) == "BM") return "bmp";
  return {};
}

}  // namespace Sonvik::webapi::cover
