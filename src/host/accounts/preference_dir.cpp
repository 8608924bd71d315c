#include "host/accounts/preference_dir.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "host/accounts/account_store.h"
#include "package/paths.h"

namespace QUOR::accounts::detail {

bool MakePreferenceDir(const std::string& dir) {
  bool created = ::mkdir(dir.c_str(), 0750) == 0;
  if (!created && errno != EEXIST) {
    throw AccountError("cannot make the preference folder " + dir + ": " + std::strerror(errno));
  }
  struct stat info {};
  if (::lstat(dir.c_str(), &info) != 0 || !S_ISDIR(info.st_mode)) {
    throw AccountError(dir + " exists and is not a folder; move it away and try again");
  }
  if (::geteuid() == 0) {
    if (const passwd* service = ::getpwnam(Sonvik::paths::kServiceAccount)) {
      if (::lchown(dir.c_str(), service->pw_uid, service->pw_gid) != 0) {
        int saved = errno;
        if (created) ::rmdir(dir.c_str());
        throw AccountError("cannot give " + dir +
                           " to the service account: " + std::strerror(saved));
      }
    }
  }
  return created;
}

void RemovePreferenceDir(const std::string& dir) {
  std::error_code ignored;
  std::filesystem::remove_all(dir, ignored);
}

}  // namespace QUOR::accounts::detail
