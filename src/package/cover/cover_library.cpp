#include "package/cover/cover_library.h"

namespace Sonvik::webapi::cover {
// Placeholders until covers land.
std::string CoverLibrary::GetEmbeddedCoverPath(const std::string&) { return {}; }
std::string CoverLibrary::GetFolderCoverPath(const std::string&) { return {}; }
}  // namespace Sonvik::webapi::cover
