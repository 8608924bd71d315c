#include "package/credentials/credentials.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>
#include <map>
#include <string>
#include <vector>

namespace {

struct Account {
  uid_t uid;
  gid_t gid;
  std::vector<gid_t> groups;
};

// Looking an account up goes through NSS (files, userdb sockets, ...) and costs far more than the
// switch itself; a stream makes four switches. Workers are retired and respawned regularly, so a
// per-process cache does not outlive an account change for long.
const Account* FindAccount(const char* name) {
  static std::map<std::string, Account> cache;
  auto it = cache.find(name);
  if (it != cache.end()) return &it->second;

  std::vector<char> buffer(16384);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwnam_r(name, &entry, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
    return nullptr;
  }
  Account account{found->pw_uid, found->pw_gid, {}};
  int count = 32;
  account.groups.resize(static_cast<size_t>(count));
  if (::getgrouplist(found->pw_name, found->pw_gid, account.groups.data(), &count) < 0) {
    account.groups.resize(static_cast<size_t>(count));
    ::getgrouplist(found->pw_name, found->pw_gid, account.groups.data(), &count);
  }
  account.groups.resize(static_cast<size_t>(count));
  return &cache.emplace(name, std::move(account)).first->second;
}

int Switch(const Account& account, bool reset_groups) {
  // Become root first (effective only) so the group and the groups list may be changed.
  if (::geteuid() != 0 && ::setresuid(-1, 0, -1) != 0) return -1;
  if (reset_groups && ::setgroups(account.groups.size(), account.groups.data()) != 0) return -1;
  if (::setresgid(-1, account.gid, -1) != 0) return -1;
  if (account.uid != 0 && ::setresuid(-1, account.uid, -1) != 0) return -1;
  return 0;
}

}  // namespace

extern "C" int ResetCredentialsByName(const char* account_name, bool reset_groups) {
  if (account_name == nullptr) return -1;
  // A successful switch leaves errno as it was, so a caller can still report the error of the
  // file operation it switched around.
  const int saved_errno = errno;
  const Account* account = FindAccount(account_name);
  if (account == nullptr || Switch(*account, reset_groups) != 0) return -1;
  errno = saved_errno;
  return 0;
}
