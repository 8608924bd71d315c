#include "package/cover/cover_cache.h"

#include <sodium.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>

#include "package/cover/picture_type.h"
#include "package/util/atomic_file.h"

namespace Sonvik::webapi::cover {
namespace {

// Likeliest first: every lookup of a cached cover stats names in this order.
constexpr const char* kExtensions[] = {"jpg", "png", "none", "webp", "gif", "bmp"};
constexpr const char* kNoPicture = "none";

bool IsRegularFile(const std::string& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

}  // namespace

std::string CoverCache::Key(const std::string& track_path, const struct stat& status) {
  // Picks the library's fastest code paths; safe to call from any number of places.
  static const bool sodium_ready = sodium_init() >= 0;
  (void)sodium_ready;
  const int64_t facts[3] = {static_cast<int64_t>(status.st_size), status.st_mtim.tv_sec,
                            status.st_mtim.tv_nsec};
  unsigned char hash[16];
  crypto_generichash_state state;
  crypto_generichash_init(&state, nullptr, 0, sizeof(hash));
  crypto_generichash_update(&state, reinterpret_cast<const unsigned char*>(track_path.data()),
                            track_path.size() + 1);  // the terminating zero separates the fields
  crypto_generichash_update(&state, reinterpret_cast<const unsigned char*>(facts), sizeof(facts));
  crypto_generichash_final(&state, hash, sizeof(hash));
  char hex[sizeof(hash) * 2 + 1];
  sodium_bin2hex(hex, sizeof(hex), hash, sizeof(hash));
  return hex;
}

std::optional<std::string> CoverCache::Find(const std::string& track_path,
                                            const struct stat& status) const {
  const std::string base = folder_ + "/" + Key(track_path, status) + ".";
  for (const char* extension : kExtensions) {
    std::string path = base + extension;
    if (!IsRegularFile(path)) continue;
    if (std::string_view(extension) == kNoPicture) return std::string();
    return path;
  }
  return std::nullopt;
}

std::string CoverCache::Store(const std::string& track_path, const struct stat& status,
                              const std::string& picture) const {
  std::string_view extension = picture.empty() ? kNoPicture : PictureExtension(picture);
  if (extension.empty()) extension = kNoPicture;  // bytes that are no image we can serve
  std::error_code error;
  std::filesystem::create_directories(folder_, error);
  std::string path = folder_ + "/" + Key(track_path, status) + "." + std::string(extension);
  bool stored = util::WriteFileAtomically(path, extension == kNoPicture ? "" : picture, 0644);
  if (extension == kNoPicture || !stored) return {};
  return path;
}

}  // namespace Sonvik::webapi::cover
