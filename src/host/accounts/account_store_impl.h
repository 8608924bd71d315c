#pragma once
// What the AccountStore's source files share.
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "host/accounts/account_store.h"
#include "host/accounts/change_counter.h"
#include "host/accounts/credential_cache.h"
#include "host/accounts/secrets.h"
#include "package/sqlite/database.h"
#include "package/sqlite/error.h"
#include "package/sqlite/statement.h"
#include "package/sqlite/statement_cache.h"
#include "package/sqlite/transaction.h"

namespace QUOR::accounts {

struct AccountStore::Impl {
  Impl(const std::string& path, AccountStoreOptions store_options);

  int64_t Now() const;
  User MakeUser(int64_t uid, std::string_view name) const;
  // The remembered user for `digest` in `cache`, if still trustworthy at `generation`.
  std::optional<User> Remembered(const detail::CredentialCache& cache,
                                 const detail::SecretDigest& digest, uint64_t generation,
                                 int64_t now) const;

  AccountStoreOptions options;
  Sonvik::sqlite::Database db;
  // After `db`: the statements must be finalized before the connection closes.
  Sonvik::sqlite::StatementCache statements{db.get()};
  // Raised after every commit of every process on this database (see the constructor).
  detail::ChangeCounter changes;
  // Only used while `changes` works: without it a cached entry could outlive a logout.
  bool cache_credentials = false;
  detail::CredentialCache sessions;
  detail::CredentialCache tokens;
};

namespace detail {

// Use of a session or token is noted at most this often: resolving stays a pure read for the
// many requests in between.
inline constexpr int64_t kLastUsedGranularitySeconds = 60;

template <typename Value>
void BindOne(Sonvik::sqlite::Statement& statement, int index, const Value& value) {
  statement.Bind(index, value);
}
// Digests are stored as 32-byte blobs.
void BindOne(Sonvik::sqlite::Statement& statement, int index, const SecretDigest& digest);

// Binds `args` to the parameters 1, 2, ... of `statement`.
template <typename... Args>
void BindArgs(Sonvik::sqlite::Statement& statement, const Args&... args) {
  int index = 0;
  (BindOne(statement, ++index, args), ...);
}

// Prepares `sql` on `db` and binds `args` to its parameters 1, 2, ...
template <typename... Args>
Sonvik::sqlite::Statement Prepare(sqlite3* db, std::string_view sql, const Args&... args) {
  Sonvik::sqlite::Statement statement(db, sql);
  BindArgs(statement, args...);
  return statement;
}

// The store promises AccountError for every failure; the database's own errors are turned into
// it here, at the edge.
template <typename Body>
auto WithAccountErrors(Body&& body) -> decltype(body()) {
  try {
    return body();
  } catch (const Sonvik::sqlite::Error& e) {
    throw AccountError(std::string("accounts database: ") + e.what());
  }
}

}  // namespace detail
}  // namespace QUOR::accounts
