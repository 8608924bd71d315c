#include "package/audio/transcodable_extensions.h"

#include "package/audio/content_type.h"

namespace Sonvik::audio {

bool IsTranscodableExtension(std::string_view path) {
  // The scanner's audio extensions; FFmpeg decodes every one of them.
  constexpr std::string_view kExtensions[] = {"mp3", "flac", "ogg", "oga", "opus", "spx",
                                              "m4a", "m4b",  "wav", "aif", "aiff", "aifc",
                                              "wma", "asf",  "ape", "wv",  "mpc",  "tta"};
  char buffer[16];
  std::string_view extension = LowerExtension(path, buffer);
  for (std::string_view known : kExtensions) {
    if (extension == known) return true;
  }
  return false;
}

}  // namespace Sonvik::audio
