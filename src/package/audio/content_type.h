#pragma once
// The media type a file is served with, chosen by its extension (any letter case).
#include <string_view>

namespace Sonvik::audio {

// "application/octet-stream" for extensions this package does not serve on purpose.
const char* ContentTypeForPath(std::string_view path);

// The part after the last dot of the file name, lower-cased; empty when there is none.
std::string_view LowerExtension(std::string_view path, char (&buffer)[16]);

}  // namespace Sonvik::audio
