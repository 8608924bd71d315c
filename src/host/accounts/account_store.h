#pragma once
// The host's own accounts in SQLite (/var/packages/Sonvik/var/accounts.db): users with argon2id
// password hashes, login sessions, long-lived API tokens and the failed-login record that rate
// limits guessing. Everything here is committed with synchronous=FULL: it cannot be rebuilt.
// Session ids and token secrets are stored only as digests; passwords only as argon2id hashes.
//
// Several processes may open the same database at once (WAL, busy timeout); one AccountStore
// object is for one thread at a time.
//
// Failures inside are exceptions (AccountError); callers at the edges (CLI, server) turn them
// into messages or host error codes.
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "package/paths.h"

namespace QUOR::accounts {

class AccountError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct User {
  unsigned uid = 0;  // 1024 and up
  std::string name;
  std::string preference_dir;  // /var/packages/Sonvik/var/users/<name>
};

struct TokenInfo {
  int64_t id = 0;
  unsigned uid = 0;
  std::string user_name;
  int64_t created = 0;    // seconds since the epoch
  int64_t last_used = 0;  // 0 when never used
};

enum class LoginResult { kOk, kWrongCredentials, kRateLimited };

struct AccountStoreOptions {
  // A session unused for this long is gone.
  int64_t session_idle_seconds = 7 * 24 * 3600;
  // This many failed logins within the window lock the account (or the client address) out
  // until the window, counted from its first failure, has passed.
  int max_login_failures = 5;
  int64_t login_failure_window_seconds = 5 * 60;
  // Where preference folders are made.
  std::string users_dir = Sonvik::paths::kUsersDir;
  // Seconds since the epoch; empty means the system clock.
  std::function<int64_t()> clock;
};

// True for 1 to 64 characters of [A-Za-z0-9._-], other than "." and ".." (the name is a folder).
bool IsValidUserName(const std::string& name);

class AccountStore {
 public:
  // Opens (creating and migrating when needed) the store at `path`. A new database file is made
  // readable by its owner only.
  explicit AccountStore(const std::string& path);
  AccountStore(const std::string& path, AccountStoreOptions options);
  ~AccountStore();
  AccountStore(const AccountStore&) = delete;
  AccountStore& operator=(const AccountStore&) = delete;

  // Users. AddUser makes the preference folder too (owned by the service account when it exists
  // and we are root); names are 1-64 of [A-Za-z0-9._-]; the password must not be empty.
  // uids are never reused, so a new user never inherits a deleted one's data.
  User AddUser(const std::string& name, const std::string& password);
  // As above, and runs `before_commit` with the new user inside the transaction: when it throws,
  // nothing of the user remains and the exception propagates.
  User AddUser(const std::string& name, const std::string& password,
               const std::function<void(const User&)>& before_commit);
  std::optional<User> FindUser(const std::string& name);
  std::optional<User> FindUserByUid(unsigned uid);
  std::vector<User> ListUsers();
  // Also ends the user's sessions (API tokens stay).
  void SetPassword(const std::string& name, const std::string& password);
  // Removes the user with its sessions, tokens and preference folder; false when there is no
  // such user.
  bool DeleteUser(const std::string& name);

  // Checks a password, counting failures per account and per client address (empty: not
  // counted by address); a run of failures locks further attempts out for a while
  // (kRateLimited, without checking the password). A success clears the account's count.
  // `user` (may be null) receives the account on kOk.
  LoginResult Login(const std::string& name, const std::string& password,
                    const std::string& client_address, User* user);

  // Sessions: a random id (64 hex digits); expire after an idle time.
  std::string CreateSession(unsigned uid);
  // Cheap enough for every request: a lookup of the last seconds is remembered while no process
  // has committed to the database since; otherwise one indexed read, plus a write at most once a
  // minute per session to note its use. Commits raise a counter in "<path>-changes".
  std::optional<User> ResolveSession(const std::string& sid);
  // ResolveSession's answer when this store still remembers it, without touching the database
  // (so without needing its file permissions); nullopt means "ask ResolveSession".
  std::optional<User> RememberedSession(const std::string& sid);
  void DeleteSession(const std::string& sid);

  // API tokens: the secret (64 hex digits) is shown once; only its digest is stored.
  std::string CreateToken(const std::string& user_name);
  std::optional<User> ResolveToken(const std::string& token);
  // As RememberedSession, for tokens.
  std::optional<User> RememberedToken(const std::string& token);
  std::vector<TokenInfo> ListTokens();
  bool RevokeToken(int64_t id);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace QUOR::accounts
