#include "package/playlist/playlist_files.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <map>
#include <memory>

#include "package/playlist/playlist_name.h"

namespace Sonvik::playlist {
namespace {

struct DirCloser {
  void operator()(DIR* dir) const { closedir(dir); }
};

class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) : fd_(fd) {}
  ~FileDescriptor() {
    if (fd_ >= 0) close(fd_);
  }
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  int get() const { return fd_; }

 private:
  int fd_;
};

// The name of a playlist file and whether it is the preferred .m3u8 form; nullopt otherwise.
std::optional<std::pair<std::string, bool>> PlaylistNameOf(std::string_view file_name) {
  for (auto [extension, preferred] : {std::pair<std::string_view, bool>{".m3u8", true},
                                      std::pair<std::string_view, bool>{".m3u", false}}) {
    if (file_name.size() > extension.size() && file_name.ends_with(extension)) {
      return std::pair(std::string(file_name.substr(0, file_name.size() - extension.size())),
                       preferred);
    }
  }
  return std::nullopt;
}

}  // namespace

std::string PersonalPlaylistFolder(const std::string& preference_dir) {
  return preference_dir + "/playlists";
}

unsigned long PlaylistFileNumber(std::string_view name) {
  uint64_t hash = 14695981039346656037ULL;
  for (char c : name) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 1099511628211ULL;
  }
  return hash == 0 ? 1 : static_cast<unsigned long>(hash);
}

std::optional<std::vector<PlaylistFile>> ListPlaylistFiles(const std::string& folder) {
  std::unique_ptr<DIR, DirCloser> dir(opendir(folder.c_str()));
  if (!dir) {
    if (errno == ENOENT) return std::vector<PlaylistFile>();
    return std::nullopt;
  }
  std::map<std::string, std::pair<std::string, bool>> by_name;  // name -> file name, preferred
  while (dirent* entry = readdir(dir.get())) {
    if (entry->d_type != DT_REG && entry->d_type != DT_UNKNOWN) continue;
    auto name = PlaylistNameOf(entry->d_name);
    if (!name || !IsValidPlaylistFileName(name->first)) continue;
    auto [it, inserted] = by_name.try_emplace(name->first, entry->d_name, name->second);
    if (!inserted && name->second && !it->second.second) it->second = {entry->d_name, true};
  }
  std::vector<PlaylistFile> files;
  for (auto& [name, file] : by_name) {
    files.push_back({name, file.first, PlaylistFileNumber(name)});
  }
  return files;
}

std::optional<PlaylistFile> FindPlaylistFile(const std::vector<PlaylistFile>& files,
                                             std::string_view key) {
  for (const auto& file : files) {
    if (file.name == key) return file;
  }
  for (const auto& file : files) {
    if (std::to_string(file.number) == key) return file;
  }
  return std::nullopt;
}

std::optional<std::string> ReadSmallFile(const std::string& path, size_t max_bytes) {
  FileDescriptor fd(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK));
  if (fd.get() < 0) return std::nullopt;
  struct stat info {};
  if (fstat(fd.get(), &info) != 0 || !S_ISREG(info.st_mode) ||
      static_cast<size_t>(info.st_size) > max_bytes) {
    return std::nullopt;
  }
  std::string content;
  char buffer[65536];
  while (true) {
    ssize_t n = read(fd.get(), buffer, sizeof(buffer));
    if (n < 0) {
      if (errno == EINTR) continue;
      return std::nullopt;
    }
    if (n == 0) break;
    content.append(buffer, static_cast<size_t>(n));
    if (content.size() > max_bytes) return std::nullopt;
  }
  return content;
}

}  // namespace Sonvik::playlist
