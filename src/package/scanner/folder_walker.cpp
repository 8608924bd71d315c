#include "package/scanner/folder_walker.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

namespace Sonvik::scanner {
namespace {

// Deeper than any real collection; stops a runaway walk before it runs out of descriptors.
constexpr int kMaxDepth = 64;

struct DirCloser {
  void operator()(DIR* dir) const { closedir(dir); }
};
using DirHandle = std::unique_ptr<DIR, DirCloser>;

int64_t MtimeNs(const struct stat& st) {
  return static_cast<int64_t>(st.st_mtim.tv_sec) * 1000000000 + st.st_mtim.tv_nsec;
}

std::string Join(const std::string& folder, const std::string& name) {
  return folder == "/" ? "/" + name : folder + "/" + name;
}

class Walker {
 public:
  Walker(const std::set<std::string>& skipped, const WalkCallbacks& callbacks)
      : skipped_(skipped), callbacks_(callbacks) {}

  // Takes ownership of `fd` (an open folder).
  bool Walk(int fd, const std::string& folder, int depth) {
    struct stat st {};
    if (fstat(fd, &st) != 0 || !visited_.emplace(st.st_dev, st.st_ino).second) {
      close(fd);
      return true;  // a folder reached twice through links: walked already
    }
    DirHandle dir(fdopendir(fd));
    if (dir == nullptr) {
      const int error = errno;
      close(fd);
      callbacks_.on_unreadable(folder, std::strerror(error));
      return false;
    }
    std::vector<WalkedFile> files;
    std::vector<std::string> subfolders;
    errno = 0;
    while (dirent* entry = readdir(dir.get())) {
      const char* name = entry->d_name;
      if (name[0] == '.') continue;  // ".", ".." and hidden files (.Trash, ._resource forks)
      if (entry->d_type == DT_DIR) {
        subfolders.emplace_back(name);
        continue;
      }
      const FileKind kind = ClassifyFileName(name);
      const bool maybe_folder = entry->d_type == DT_LNK || entry->d_type == DT_UNKNOWN;
      if (kind == FileKind::kOther && !maybe_folder) continue;
      struct stat file_stat {};
      if (fstatat(dirfd(dir.get()), name, &file_stat, 0) != 0) continue;  // dangling link
      if (S_ISDIR(file_stat.st_mode)) {
        subfolders.emplace_back(name);
      } else if (S_ISREG(file_stat.st_mode) && kind != FileKind::kOther) {
        files.push_back({name, Join(folder, name), kind, static_cast<int64_t>(file_stat.st_size),
                         MtimeNs(file_stat)});
      }
    }
    std::sort(files.begin(), files.end(),
              [](const WalkedFile& a, const WalkedFile& b) { return a.name < b.name; });
    callbacks_.on_folder(folder, files);
    files = {};
    std::sort(subfolders.begin(), subfolders.end());
    for (const std::string& name : subfolders) {
      const std::string path = Join(folder, name);
      if (skipped_.count(path) != 0) continue;
      if (depth + 1 > kMaxDepth) {
        callbacks_.on_unreadable(path, "folders nested too deeply");
        continue;
      }
      const int child = openat(dirfd(dir.get()), name.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
      if (child < 0) {
        callbacks_.on_unreadable(path, std::strerror(errno));
        continue;
      }
      Walk(child, path, depth + 1);
    }
    return true;
  }

 private:
  const std::set<std::string>& skipped_;
  const WalkCallbacks& callbacks_;
  std::set<std::pair<dev_t, ino_t>> visited_;
};

}  // namespace

bool WalkMusicFolder(const std::string& root, const std::set<std::string>& skipped_folders,
                     const WalkCallbacks& callbacks) {
  const int fd = open(root.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) {
    callbacks.on_unreadable(root, std::strerror(errno));
    return false;
  }
  Walker walker(skipped_folders, callbacks);
  return walker.Walk(fd, root, 0);
}

}  // namespace Sonvik::scanner
