#include "package/cover/cover_library.h"

#include <dirent.h>
#include <sys/stat.h>

#include <memory>
#include <string_view>

#include "package/cover/cover_cache.h"
#include "package/cover/embedded_picture.h"
#include "package/paths.h"

namespace Sonvik::webapi::cover {
namespace {

// Folder picture names in order of preference: by name first, then by extension.
constexpr std::string_view kFolderNames[] = {"cover", "folder", "front", "albumart"};
constexpr std::string_view kFolderExtensions[] = {"jpg", "jpeg", "png", "webp"};
constexpr int kNoRank = 1 << 30;

struct DirectoryClose {
  void operator()(DIR* listing) const { ::closedir(listing); }
};
using Directory = std::unique_ptr<DIR, DirectoryClose>;

int FolderPictureRank(std::string_view name) {
  size_t dot = name.rfind('.');
  if (dot == std::string_view::npos) return kNoRank;
  auto equals_lower = [](std::string_view text, std::string_view lower) {
    if (text.size() != lower.size()) return false;
    for (size_t i = 0; i < text.size(); ++i) {
      char c = text[i] >= 'A' && text[i] <= 'Z' ? static_cast<char>(text[i] - 'A' + 'a') : text[i];
      if (c != lower[i]) return false;
    }
    return true;
  };
  for (size_t n = 0; n < std::size(kFolderNames); ++n) {
    if (!equals_lower(name.substr(0, dot), kFolderNames[n])) continue;
    for (size_t e = 0; e < std::size(kFolderExtensions); ++e) {
      if (equals_lower(name.substr(dot + 1), kFolderExtensions[e])) {
        return static_cast<int>(n * std::size(kFolderExtensions) + e);
      }
    }
  }
  return kNoRank;
}

}  // namespace

std::string CoverLibrary::GetEmbeddedCoverPath(const std::string& track_path) {
  struct stat status {};
  if (::stat(track_path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) return {};
  CoverCache cache(paths::kCoverCache);
  if (std::optional<std::string> cached = cache.Find(track_path, status)) return *cached;
  return cache.Store(track_path, status, ReadEmbeddedPicture(track_path));
}

std::string CoverLibrary::GetFolderCoverPath(const std::string& track_path) {
  size_t slash = track_path.rfind('/');
  if (slash == std::string::npos) return {};
  const std::string folder = slash == 0 ? "/" : track_path.substr(0, slash);
  Directory listing(::opendir(folder.c_str()));
  if (!listing) return {};
  std::string best;
  int best_rank = kNoRank;
  while (const dirent* entry = ::readdir(listing.get())) {
    int rank = FolderPictureRank(entry->d_name);
    if (rank >= best_rank) continue;
    std::string path = folder + (folder == "/" ? "" : "/") + entry->d_name;
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) continue;
    best = std::move(path);
    best_rank = rank;
  }
  return best;
}

}  // namespace Sonvik::webapi::cover
