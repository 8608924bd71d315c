#include "package/library/service_account_files.h"

#include <pwd.h>
#include <unistd.h>

#include <vector>

#include "package/paths.h"

namespace Sonvik::library {

void GiveToServiceAccount(const std::string& path) {
  if (geteuid() != 0) return;
  std::vector<char> buffer(4096);
  passwd entry{};
  passwd* found = nullptr;
  if (getpwnam_r(paths::kServiceAccount, &entry, buffer.data(), buffer.size(), &found) != 0 ||
      found == nullptr) {
    return;
  }
  // lchown: never follow a link someone placed in the state folder.
  (void)lchown(path.c_str(), found->pw_uid, found->pw_gid);
}

}  // namespace Sonvik::library
