#pragma once
// What kind of image a picture's bytes are, from their first bytes (tags often state it wrongly).
#include <string_view>

namespace Sonvik::webapi::cover {

// "jpg", "png", "webp", "gif" or "bmp"; empty when the bytes are none of these.
std::string_view PictureExtension(std::string_view bytes);

}  // namespace Sonvik::webapi::cover
