// Password checks with failed-login counting.
//
// Every attempt is counted as a failure before the password is checked, in the same transaction
// that tests the limits; a success then takes its count back. So parallel attempts from several
// worker processes cannot slip past the limit while the (slow) hash is being verified.
#include "host/accounts/account_store.h"
#include "host/accounts/account_store_impl.h"

namespace QUOR::accounts {
namespace {

using Sonvik::sqlite::Transaction;

constexpr const char* kAccountScope = "account";
constexpr const char* kAddressScope = "address";

struct Limits {
  int64_t now;
  int64_t window;
  int max_failures;
};

bool IsLockedOut(sqlite3* db, const char* scope, const std::string& key, const Limits& limits) {
  auto select = detail::Prepare(
      db, "SELECT count FROM login_failures WHERE scope = ?1 AND key = ?2 AND window_start > ?3",
      scope, key, limits.now - limits.window);
  return select.Step() && select.ColumnInt64(0) >= limits.max_failures;
}

// A window opens at the first failure and lasts `window` seconds; the count starts again after.
// (In an UPDATE every expression sees the row as it was, so both CASEs test the old window.)
void CountFailure(sqlite3* db, const char* scope, const std::string& key, const Limits& limits) {
  detail::Prepare(db, R"sql(
      INSERT INTO login_failures(scope, key, window_start, count) VALUES(?1, ?2, ?3, 1)
      ON CONFLICT(scope, key) DO UPDATE SET
        count = CASE WHEN window_start <= ?3 - ?4 THEN 1 ELSE count + 1 END,
        window_start = CASE WHEN window_start <= ?3 - ?4 THEN ?3 ELSE window_start END)sql",
                  scope, key, limits.now, limits.window)
      .Run();
}

}  // namespace

LoginResult AccountStore::Login(const std::string& name, const std::string& password,
                                const std::string& client_address, User* user) {
  const Limits limits{impl_->Now(), impl_->options.login_failure_window_seconds,
                      impl_->options.max_login_failures};
  sqlite3* db = impl_->db.get();
  struct Account {
    int64_t uid;
    std::string hash;
  };
  std::optional<Account> account;

  bool locked_out = detail::WithAccountErrors([&] {
    Transaction transaction(db);
    if (IsLockedOut(db, kAccountScope, name, limits) ||
        (!client_address.empty() && IsLockedOut(db, kAddressScope, client_address, limits))) {
      return true;
    }
    // Old windows are of no use any more; this keeps the table as small as recent traffic.
    detail::Prepare(db, "DELETE FROM login_failures WHERE window_start <= ?1",
                    limits.now - limits.window)
        .Run();
    CountFailure(db, kAccountScope, name, limits);
    if (!client_address.empty()) CountFailure(db, kAddressScope, client_address, limits);
    auto select = detail::Prepare(db, "SELECT uid, password_hash FROM users WHERE name = ?1", name);
    if (select.Step()) account = Account{select.ColumnInt64(0), std::string(select.ColumnText(1))};
    transaction.Commit();
    return false;
  });
  if (locked_out) return LoginResult::kRateLimited;

  if (!account) {
    detail::VerifyAgainstDummy(password);
    return LoginResult::kWrongCredentials;
  }
  if (!detail::VerifyPassword(password, account->hash)) return LoginResult::kWrongCredentials;
  // The only moment the password is at hand: bring a hash made with older limits up to date.
  std::string new_hash;
  if (detail::NeedsRehash(account->hash)) new_hash = detail::HashPassword(password);

  detail::WithAccountErrors([&] {
    Transaction transaction(db);
    detail::Prepare(db, "DELETE FROM login_failures WHERE scope = ?1 AND key = ?2", kAccountScope,
                    name)
        .Run();
    if (!client_address.empty()) {
      detail::Prepare(db,
                      "UPDATE login_failures SET count = count - 1 "
                      "WHERE scope = ?1 AND key = ?2 AND count > 0",
                      kAddressScope, client_address)
          .Run();
    }
    if (!new_hash.empty()) {
      detail::Prepare(db,
                      "UPDATE users SET password_hash = ?2 WHERE uid = ?1 AND password_hash = ?3",
                      account->uid, new_hash, account->hash)
          .Run();
    }
    transaction.Commit();
  });
  if (user) *user = impl_->MakeUser(account->uid, name);
  return LoginResult::kOk;
}

}  // namespace QUOR::accounts
