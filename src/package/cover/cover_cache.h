#pragma once
// The cover cache: pictures taken out of audio files, one file each, named after the audio
// file's path, size and modification time, so a changed file gets a fresh entry.
#include <sys/stat.h>

#include <optional>
#include <string>

namespace Sonvik::webapi::cover {

class CoverCache {
 public:
  explicit CoverCache(std::string folder) : folder_(std::move(folder)) {}

  // What the cache holds for `track_path` in the state `status`: nullopt when it knows nothing
  // yet; an empty text when the file is known to have no picture; otherwise the picture's path.
  std::optional<std::string> Find(const std::string& track_path, const struct stat& status) const;
  // Stores the picture (or, with empty `picture`, that there is none). Safe against other
  // processes storing the same entry: each writes its own temporary file and renames it.
  // Answers the stored picture's path, empty when there is none or it could not be stored.
  std::string Store(const std::string& track_path, const struct stat& status,
                    const std::string& picture) const;

  // The entry's name without extension: a hash of path, size and modification time.
  static std::string Key(const std::string& track_path, const struct stat& status);

 private:
  std::string folder_;
};

}  // namespace Sonvik::webapi::cover
