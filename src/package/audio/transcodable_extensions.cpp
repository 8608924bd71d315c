#include "package/audio/transcodable_extensions.h"

#include "package/audio/content_type.h"

namespace Sonvik::audio {

bool IsTranscodableExtension(std::string_view path) {
  constexpr std::string_view kExtensions[] = {"mp3",  "flac", "ogg", "oga", "opus", "m4a",
                                              "m4b",  "mp4",  "aac", "wav", "aif",  "aiff",
                                              "aifc", "wma",  "ape", "wv",  "mka",  "mpc"};
  char buffer[16];
  std::string_view extension = LowerExtension(path, buffer);
  for (std::string_view known : kExtensions) {
    if (extension == known) return true;
  }
  return false;
}

}  // namespace Sonvik::audio
