#include "cli/account_access.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>

#include "package/paths.h"

namespace Sonvik::cli {

std::unique_ptr<QUOR::accounts::AccountStore> OpenAccounts() {
  const std::string path = paths::kAccountsDb;
  if (::access(path.c_str(), F_OK) != 0) {
    throw std::runtime_error("the accounts database " + path +
                             " does not exist; run 'sonvik init' first (as root)");
  }
  if (::access(path.c_str(), R_OK | W_OK) != 0) {
    throw std::runtime_error("cannot write " + path + " (" + std::strerror(errno) +
                             "); run this command as root, e.g. with sudo");
  }
  try {
    return std::make_unique<QUOR::accounts::AccountStore>(path);
  } catch (const QUOR::accounts::AccountError& e) {
    throw std::runtime_error(std::string(e.what()) +
                             "; check the file, or run 'sonvik init' again as root");
  }
}

void ThrowNoSuchUser(const std::string& name) {
  throw std::runtime_error("no such user '" + name + "'; see 'sonvik user list'");
}

}  // namespace Sonvik::cli
