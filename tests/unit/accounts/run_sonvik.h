#pragma once
// Runs the built `sonvik` binary as a real process ($SONVIK_BUILD_DIR/bin/sonvik).
#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace Sonvik::testing {

struct ProcessResult {
  int exit_status = -1;  // -1 when it did not exit normally
  std::string out;
  std::string err;
};

// `input` is fed to standard input; `as_uid`, when given, drops to that user (and its group id
// `as_uid` too) before exec.
ProcessResult RunSonvik(const std::vector<std::string>& args, const std::string& input = "",
                        std::optional<uid_t> as_uid = std::nullopt);

// Runs `body` in a child process that has switched all its ids to `uid`/`gid`; true when the
// body returned true. For checking what the service account can do with the files.
bool RunAs(uid_t uid, gid_t gid, bool (*body)());

}  // namespace Sonvik::testing
