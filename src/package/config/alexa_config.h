#pragma once
// The voice-assistant configuration: a small key/value file in the state folder.
//
// An AlexaConfig holds an exclusive lock (flock on a lock file beside the configuration) from
// construction to destruction, so "read, then clear" is one step across worker processes and a
// challenge is handed out once. Writes go to a temporary file, are synced and renamed.
#include <map>
#include <string>

namespace AmazonAlexa {

class AlexaConfig {
 public:
  // Locks and loads the default configuration file of the package.
  AlexaConfig();
  // Locks and loads the file at `path` (tests, tools).
  explicit AlexaConfig(std::string path);
  ~AlexaConfig();
  AlexaConfig(const AlexaConfig&) = delete;
  AlexaConfig& operator=(const AlexaConfig&) = delete;

  // False when the lock could not be taken; reads then answer empty and writes fail.
  bool IsLocked() const { return lock_fd_ >= 0; }

  // The stored challenge; empty when none is stored.
  std::string challenge_string() const;
  // Removes the challenge from the stored configuration. 0 on success, -1 on failure (the
  // stored file is then unchanged).
  int ClearChallengeString();
  // Stores a new challenge. 0 on success, -1 on failure.
  int SetChallengeString(const std::string& challenge);

 private:
  int Store(const std::map<std::string, std::string>& values);

  std::string path_;
  int lock_fd_ = -1;
  std::map<std::string, std::string> values_;
};

}  // namespace AmazonAlexa
