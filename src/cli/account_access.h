#pragma once
// Opening the accounts database for a `sonvik` command, with messages that say what to do.
#include <memory>

#include "host/accounts/account_store.h"

namespace Sonvik::cli {

// Throws std::runtime_error when the database is missing ("run 'sonvik init' first") or cannot
// be opened for writing ("run as root").
std::unique_ptr<QUOR::accounts::AccountStore> OpenAccounts();

// "no such user 'x'; see 'sonvik user list'".
[[noreturn]] void ThrowNoSuchUser(const std::string& name);

}  // namespace Sonvik::cli
