#include "package/audio/file_validators.h"

#include <cinttypes>
#include <cstdio>
#include <string>

namespace Sonvik::audio {

Validators FileValidators(const struct stat& status, std::string_view variant) {
  uint64_t mtime_ns = static_cast<uint64_t>(status.st_mtim.tv_sec) * 1000000000u +
                      static_cast<uint64_t>(status.st_mtim.tv_nsec);
  char tag[48];
  std::snprintf(tag, sizeof(tag), "%" PRIx64 "-%" PRIx64, static_cast<uint64_t>(status.st_size),
                mtime_ns);
  std::string etag = "\"";
  etag += tag;
  if (!variant.empty()) {
    etag += '-';
    etag += variant;
  }
  etag += '"';
  return {etag, status.st_mtim.tv_sec};
}

}  // namespace Sonvik::audio
