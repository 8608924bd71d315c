#include "package/util/key_value_file.h"

#include <sys/stat.h>

#include <cstring>
#include <ctime>
#include <fstream>
#include <mutex>

#include "package/util/atomic_file.h"

namespace Sonvik::util {
namespace {

std::string Trim(const std::string& text) {
  size_t begin = text.find_first_not_of(" \t\r");
  if (begin == std::string::npos) return {};
  size_t end = text.find_last_not_of(" \t\r");
  return text.substr(begin, end - begin + 1);
}

}  // namespace

std::optional<std::map<std::string, std::string>> ReadKeyValueFile(const std::string& path) {
  std::ifstream in(path);
  if (!in) return std::nullopt;
  std::map<std::string, std::string> values;
  std::string line;
  while (std::getline(in, line)) {
    std::string trimmed = Trim(line);
    if (trimmed.empty() || trimmed[0] == '#') continue;
    auto eq = trimmed.find('=');
    if (eq == std::string::npos) continue;
    std::string key = Trim(trimmed.substr(0, eq));
    std::string value = Trim(trimmed.substr(eq + 1));
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
      value = value.substr(1, value.size() - 2);
    }
    if (!key.empty()) values[key] = value;
  }
  return values;
}

namespace {

struct FileIdentity {
  dev_t device = 0;
  ino_t inode = 0;
  off_t size = 0;
  timespec modified{};
  timespec changed{};

  bool operator==(const FileIdentity& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec &&
           changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
  }
};

struct CachedFile {
  FileIdentity identity;
  std::shared_ptr<const std::map<std::string, std::string>> values;
};

// Long enough to cover any file system's timestamp granularity.
constexpr time_t kSettledSeconds = 2;

}  // namespace

std::shared_ptr<const std::map<std::string, std::string>> ReadKeyValueFileCached(
    const std::string& path) {
  static std::mutex mutex;
  static std::map<std::string, CachedFile> cache;
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return nullptr;
  FileIdentity identity{info.st_dev, info.st_ino, info.st_size, info.st_mtim, info.st_ctim};
  {
    std::lock_guard lock(mutex);
    auto it = cache.find(path);
    if (it != cache.end() && it->second.identity == identity) return it->second.values;
  }
  auto values = ReadKeyValueFile(path);
  if (!values) return nullptr;
  auto shared = std::make_shared<const std::map<std::string, std::string>>(std::move(*values));
  bool settled = info.st_ctim.tv_sec + kSettledSeconds < time(nullptr) &&
                 info.st_mtim.tv_sec + kSettledSeconds < time(nullptr);
  std::lock_guard lock(mutex);
  if (settled) {
    cache[path] = CachedFile{identity, shared};
  } else {
    cache.erase(path);
  }
  return shared;
}

bool WriteKeyValueFileAtomically(const std::string& path,
                                 const std::map<std::string, std::string>& values) {
  std::string content;
  for (const auto& [key, value] : values) content += key + "=\"" + value + "\"\n";
  return WriteFileAtomically(path, content);
}

}  // namespace Sonvik::util

extern "C" int QLIBCFileGetKeyValue(const char* path, const char* key, char* buffer,
                                    int buffer_length, int /*flags*/) {
  if (path == nullptr || key == nullptr || buffer == nullptr || buffer_length < 1) return -1;
  auto values = Sonvik::util::ReadKeyValueFileCached(path);
  if (!values) return -1;
  auto it = values->find(key);
  if (it == values->end()) return 0;
  if (it->second.size() + 1 > static_cast<size_t>(buffer_length)) return -1;
  std::memcpy(buffer, it->second.c_str(), it->second.size() + 1);
  return static_cast<int>(it->second.size()) + 1;
}

extern "C" int QLIBCFileExist(const char* path) {
  struct stat st {};
  return path != nullptr && ::stat(path, &st) == 0 ? 1 : 0;
}
