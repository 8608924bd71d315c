#include "package/config/alexa_config.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include "package/paths.h"
#include "package/util/key_value_file.h"

namespace AmazonAlexa {
namespace {
constexpr const char* kChallengeKey = "challenge_string";
}

AlexaConfig::AlexaConfig() : AlexaConfig(Sonvik::paths::kAlexaConf) {}

AlexaConfig::AlexaConfig(std::string path) : path_(std::move(path)) {
  // The lock lives on its own file: the configuration itself is replaced by rename on every
  // write, and a lock on a replaced inode would protect nothing.
  std::string lock_path = path_ + ".lock";
  // Read-only is enough for flock, and lets a read-only state folder still be read.
  lock_fd_ = ::open(lock_path.c_str(), O_RDONLY | O_CREAT | O_CLOEXEC, 0660);
  if (lock_fd_ < 0) return;
  while (::flock(lock_fd_, LOCK_EX) != 0) {
    if (errno != EINTR) {
      ::close(lock_fd_);
      lock_fd_ = -1;
      return;
    }
  }
  if (auto values = Sonvik::util::ReadKeyValueFile(path_)) values_ = std::move(*values);
}

AlexaConfig::~AlexaConfig() {
  if (lock_fd_ >= 0) ::close(lock_fd_);  // closing releases the flock
}

std::string AlexaConfig::challenge_string() const {
  auto it = values_.find(kChallengeKey);
  return it == values_.end() ? std::string() : it->second;
}

int AlexaConfig::ClearChallengeString() {
  auto values = values_;
  values.erase(kChallengeKey);
  return Store(values);
}

int AlexaConfig::SetChallengeString(const std::string& challenge) {
  auto values = values_;
  values[kChallengeKey] = challenge;
  return Store(values);
}

int AlexaConfig::Store(const std::map<std::string, std::string>& values) {
  if (lock_fd_ < 0) return -1;
  if (!Sonvik::util::WriteKeyValueFileAtomically(path_, values)) return -1;
  values_ = values;
  return 0;
}

}  // namespace AmazonAlexa
