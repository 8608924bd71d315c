#pragma once
// The ids the server runs requests with. Started as root, the server serves with the service
// account's effective user and group while the real and saved ids stay root, so that the module
// can switch to root or to another account around a file operation and back.
#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace QUOR::server {

struct ServiceIdentity {
  std::string name;
  uid_t uid = 0;
  gid_t gid = 0;
  std::vector<gid_t> groups;  // the account's supplementary groups
};

// The account from the user database; nullopt when it does not exist.
std::optional<ServiceIdentity> LookUpServiceAccount(const std::string& name);

// Sets supplementary groups, then effective gid and uid to the account's, keeping real and saved
// ids root. Needs effective root; false (errno set) when a step fails.
bool AssumeServiceIdentity(const ServiceIdentity& identity);

// True when the effective user and group are the account's.
bool HasServiceIdentity(const ServiceIdentity& identity);

// Back to the account's effective ids from whatever a handler left behind: root first (allowed
// because the saved uid is root), then the account's groups and ids.
bool RestoreServiceIdentity(const ServiceIdentity& identity);

// Runs the host's own privileged work (the account store) with effective root for one scope;
// does nothing when the server is not running with a service identity.
class ScopedRoot {
 public:
  explicit ScopedRoot(const ServiceIdentity* identity);
  ~ScopedRoot();
  ScopedRoot(const ScopedRoot&) = delete;
  ScopedRoot& operator=(const ScopedRoot&) = delete;

 private:
  const ServiceIdentity* identity_;
};

}  // namespace QUOR::server
