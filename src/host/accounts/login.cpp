// Password checks with failed-login counting.
//
// Every attempt is counted as a failure before the password is checked, in the same transaction
// that tests the limits; a success then takes its count back. So parallel attempts from several
// worker processes cannot slip past the limit while the (slow) hash is being verified.
#include "host/accounts/account_store.h"
#include "host/accounts/account_store_impl.h"
#include "host/accounts/secrets.h"

namespace QUOR::accounts {
namespace {

constexpr const char* kAccountScope = "account";
constexpr const char* kAddressScope = "address";

struct Limits {
  int64_t now;
  int64_t window;
  int max_failures;
};

bool IsLockedOut(detail::Connection& db, const char* scope, const std::string& key,
                 const Limits& limits) {
  auto select = db.Prepare(
      "SELECT count FROM login_failures WHERE scope = ?1 AND key = ?2 AND window_start > ?3");
  select.Bind(1, scope).Bind(2, key).Bind(3, limits.now - limits.window);
  return select.Step() && select.Int64(0) >= limits.max_failures;
}

// A window opens at the first failure and lasts `window` seconds; the count starts again after.
void CountFailure(detail::Connection& db, const char* scope, const std::string& key,
                  const Limits& limits) {
  auto upsert = db.Prepare(R"sql(
      INSERT INTO login_failures(scope, key, window_start, count) VALUES(?1, ?2, ?3, 1)
      ON CONFLICT(scope, key) DO UPDATE SET
        count = CASE WHEN window_start <= ?3 - ?4 THEN 1 ELSE count + 1 END,
        window_start = CASE WHEN window_start <= ?3 - ?4 THEN ?3 ELSE window_start END)sql");
  upsert.Bind(1, scope).Bind(2, key).Bind(3, limits.now).Bind(4, limits.window).Run();
}

}  // namespace

LoginResult AccountStore::Login(const std::string& name, const std::string& password,
                                const std::string& client_address, User* user) {
  const Limits limits{impl_->Now(), impl_->options.login_failure_window_seconds,
                      impl_->options.max_login_failures};
  auto& db = impl_->db;
  std::optional<std::pair<int64_t, std::string>> account;  // uid, hash
  {
    detail::WriteTransaction transaction(db);
    if (IsLockedOut(db, kAccountScope, name, limits) ||
        (!client_address.empty() && IsLockedOut(db, kAddressScope, client_address, limits))) {
      return LoginResult::kRateLimited;
    }
    // Old windows are of no use any more; this keeps the table as small as recent traffic.
    db.Prepare("DELETE FROM login_failures WHERE window_start <= ?1")
        .Bind(1, limits.now - limits.window)
        .Run();
    CountFailure(db, kAccountScope, name, limits);
    if (!client_address.empty()) CountFailure(db, kAddressScope, client_address, limits);
    auto select = db.Prepare("SELECT uid, password_hash FROM users WHERE name = ?1");
    select.Bind(1, name);
    if (select.Step()) account.emplace(select.Int64(0), select.Text(1));
    transaction.Commit();
  }

  if (!account) {
    detail::VerifyAgainstDummy(password);
    return LoginResult::kWrongCredentials;
  }
  if (!detail::VerifyPassword(password, account->second)) return LoginResult::kWrongCredentials;

  {
    detail::WriteTransaction transaction(db);
    db.Prepare("DELETE FROM login_failures WHERE scope = ?1 AND key = ?2")
        .Bind(1, kAccountScope)
        .Bind(2, name)
        .Run();
    if (!client_address.empty()) {
      db.Prepare(
            "UPDATE login_failures SET count = count - 1 "
            "WHERE scope = ?1 AND key = ?2 AND count > 0")
          .Bind(1, kAddressScope)
          .Bind(2, client_address)
          .Run();
    }
    transaction.Commit();
  }
  if (user) *user = impl_->MakeUser(account->first, name);
  return LoginResult::kOk;
}

}  // namespace QUOR::accounts
