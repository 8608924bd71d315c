#include "host/server/service_identity.h"

#include <grp.h>
#include <pwd.h>
#include <unistd.h>

#include <cerrno>

namespace QUOR::server {

std::optional<ServiceIdentity> LookUpServiceAccount(const std::string& name) {
  passwd entry{};
  passwd* found = nullptr;
  std::vector<char> buffer(16384);
  if (getpwnam_r(name.c_str(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
      found == nullptr) {
    return std::nullopt;
  }
  ServiceIdentity identity;
  identity.name = name;
  identity.uid = entry.pw_uid;
  identity.gid = entry.pw_gid;
  int count = 32;
  identity.groups.resize(static_cast<size_t>(count));
  if (getgrouplist(name.c_str(), entry.pw_gid, identity.groups.data(), &count) < 0) {
    identity.groups.resize(static_cast<size_t>(count));
    getgrouplist(name.c_str(), entry.pw_gid, identity.groups.data(), &count);
  }
  identity.groups.resize(static_cast<size_t>(count));
  return identity;
}

bool AssumeServiceIdentity(const ServiceIdentity& identity) {
  if (setgroups(identity.groups.size(), identity.groups.data()) != 0) return false;
  if (setresgid(0, identity.gid, 0) != 0) return false;
  return setresuid(0, identity.uid, 0) == 0;
}

bool HasServiceIdentity(const ServiceIdentity& identity) {
  return geteuid() == identity.uid && getegid() == identity.gid;
}

bool RestoreServiceIdentity(const ServiceIdentity& identity) {
  if (geteuid() != 0 && seteuid(0) != 0) return false;
  return AssumeServiceIdentity(identity) && HasServiceIdentity(identity);
}

ScopedRoot::ScopedRoot(const ServiceIdentity* identity) : identity_(identity) {
  if (identity_ != nullptr && seteuid(0) != 0) identity_ = nullptr;
}

ScopedRoot::~ScopedRoot() {
  if (identity_ != nullptr) {
    int saved = errno;
    // Failing here is caught by the worker's id check after the request.
    (void)seteuid(identity_->uid);
    errno = saved;
  }
}

}  // namespace QUOR::server
