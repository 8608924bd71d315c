#pragma once
// Validators (ETag, Last-Modified) of answers made from one file.
#include <sys/stat.h>

#include <string_view>

#include "package/audio/response_plan.h"

namespace Sonvik::audio {

// The tag comes from the file's size and modification time (to the nanosecond), which change
// whenever its bytes do as far as the file system can tell, so no read of the file is needed.
// `variant` tells apart different answers made from the same file (a transcode, a segment).
Validators FileValidators(const struct stat& status, std::string_view variant = {});

}  // namespace Sonvik::audio
