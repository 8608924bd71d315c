#include "package/credentials/credentials.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <vector>

extern "C" int ResetCredentialsByName(const char* account, bool reset_groups) {
  if (account == nullptr) return -1;
  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwnam_r(account, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
    return -1;
  }
  // Become root first (effective only) so the group and the groups list may be changed.
  if (::geteuid() != 0 && ::setresuid(-1, 0, -1) != 0) return -1;
  if (reset_groups && ::initgroups(found->pw_name, found->pw_gid) != 0) return -1;
  if (::setresgid(-1, found->pw_gid, -1) != 0) return -1;
  if (found->pw_uid != 0 && ::setresuid(-1, found->pw_uid, -1) != 0) return -1;
  return 0;
}
