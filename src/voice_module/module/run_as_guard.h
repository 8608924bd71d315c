#pragma once
// A scoped switch of the process's effective user and group ids. Only the effective ids change
// (real and saved ids stay), so a process whose saved id is root can always come back.
//
// The ids belong to the whole process: nothing else may run in it while a guard is open.
#include <sys/types.h>

namespace Sonvik {

class RunAsGuard {
 public:
  // Switches to `uid`/`gid`; afterwards `switched` tells whether the process now runs as them.
  // A failure is logged (authorisation facility, error level) with `file` and `line`; the ids may
  // then be partly changed, which closing repairs. `file` must outlive the guard.
  RunAsGuard(uid_t uid, gid_t gid, const char* file, int line);
  // Puts back the ids in force when the guard was opened, also when the switch failed. A failed
  // restore is logged (authorisation facility, critical level) and otherwise ignored.
  ~RunAsGuard();

  RunAsGuard(const RunAsGuard&) = delete;
  RunAsGuard& operator=(const RunAsGuard&) = delete;
  RunAsGuard(RunAsGuard&&) = delete;
  RunAsGuard& operator=(RunAsGuard&&) = delete;

  const uid_t saved_euid;
  const gid_t saved_egid;
  const char* const file;
  const int line;
  const char* const name = "IF_RUN_AS";
  bool switched = false;
};

}  // namespace Sonvik
