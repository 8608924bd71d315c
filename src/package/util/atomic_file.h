#pragma once
#include <string>

namespace Sonvik::util {

// Replaces `path` with `content` so that a crash leaves either the old or the new file:
// temporary file in the same folder, fsync, rename, fsync of the folder. False with errno set.
bool WriteFileAtomically(const std::string& path, const std::string& content, int mode = 0644);

}  // namespace Sonvik::util
