#pragma once
#include <string_view>

namespace Sonvik::audio {

// True for the audio formats the library scanner accepts (all of which FFmpeg decodes).
bool IsTranscodableExtension(std::string_view path);

}  // namespace Sonvik::audio
