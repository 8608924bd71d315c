#pragma once
// What the AccountStore's source files share.
#include <string>

#include "host/accounts/account_store.h"
#include "host/accounts/sqlite_helper.h"

namespace QUOR::accounts {

struct AccountStore::Impl {
  Impl(const std::string& path, AccountStoreOptions store_options);

  int64_t Now() const;
  User MakeUser(int64_t uid, std::string name) const;

  AccountStoreOptions options;
  detail::Connection db;
};

namespace detail {
// Use of a session or token is noted at most this often: resolving stays a pure read for the
// many requests in between.
inline constexpr int64_t kLastUsedGranularitySeconds = 60;
}  // namespace detail

}  // namespace QUOR::accounts
