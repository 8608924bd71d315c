#include "voice_module/module/run_as_guard.h"

#include <syslog.h>
#include <unistd.h>

namespace Sonvik {
namespace {

// setres[ug]id's "leave unchanged" value.
constexpr uid_t kUnchangedUid = static_cast<uid_t>(-1);
constexpr gid_t kUnchangedGid = static_cast<gid_t>(-1);

// Becomes root first so that the group may be changed, then takes the target group and user.
// With root as the target the last call repeats the first; the order is kept as it is.
bool SwitchEffectiveIds(uid_t uid, gid_t gid) {
  const uid_t cur_uid = geteuid();
  const gid_t cur_gid = getegid();
  if (cur_uid == uid && cur_gid == gid) return true;
  if (cur_uid != 0 && setresuid(kUnchangedUid, 0, kUnchangedUid) < 0) return false;
  if (cur_gid != gid && setresgid(kUnchangedGid, gid, kUnchangedGid) != 0) return false;
  if (cur_uid != uid && setresuid(kUnchangedUid, uid, kUnchangedUid) != 0) return false;
  return true;
}

bool RestoreEffectiveIds(uid_t saved_uid, gid_t saved_gid) {
  const uid_t cur_uid = geteuid();
  const gid_t cur_gid = getegid();
  if (cur_uid == saved_uid && cur_gid == saved_gid) return true;
  if (cur_uid != 0 && cur_uid != saved_uid && setresuid(kUnchangedUid, 0, kUnchangedUid) < 0) {
    return false;
  }
  if (cur_gid != saved_gid && saved_gid != kUnchangedGid &&
      setresgid(kUnchangedGid, saved_gid, kUnchangedGid) != 0) {
    return false;
  }
  if (cur_uid != saved_uid && saved_uid != kUnchangedUid &&
      setresuid(kUnchangedUid, saved_uid, kUnchangedUid) != 0) {
    return false;
  }
  return true;
}

}  // namespace

RunAsGuard::RunAsGuard(uid_t uid, gid_t gid, const char* source_file, int source_line)
    : saved_euid(geteuid()), saved_egid(getegid()), file(source_file), line(source_line) {
  switched = SwitchEffectiveIds(uid, gid);
  if (!switched) {
    syslog(LOG_AUTH | LOG_ERR, "%s:%d ERROR: %s(%d, %d)", file, line, name, static_cast<int>(uid),
           static_cast<int>(gid));
  }
}

RunAsGuard::~RunAsGuard() {
  if (!RestoreEffectiveIds(saved_euid, saved_egid)) {
    syslog(LOG_AUTH | LOG_CRIT, "%s:%d ERROR: ~%s(%d, %d)", file, line, name,
           static_cast<int>(saved_euid), static_cast<int>(saved_egid));
  }
}

}  // namespace Sonvik
