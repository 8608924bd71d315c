#pragma once
// The host's own accounts in SQLite (/var/packages/Sonvik/var/accounts.db): users with argon2id
// password hashes, login sessions, long-lived API tokens and the failed-login record that rate
// limits guessing. Everything here is committed with synchronous=FULL: it cannot be rebuilt.
//
// Failures inside are exceptions (AccountError); callers at the edges (CLI, server) turn them
// into messages or host error codes.
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

struct sqlite3;

namespace QUOR::accounts {

class AccountError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct User {
  unsigned uid = 0;            // 1024 and up
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

class AccountStore {
 public:
  // Opens (creating and migrating when needed) the store at `path`.
  explicit AccountStore(const std::string& path);
  ~AccountStore();
  AccountStore(const AccountStore&) = delete;
  AccountStore& operator=(const AccountStore&) = delete;

  // Users. AddUser makes the preference folder too; names are 1-64 of [A-Za-z0-9._-].
  User AddUser(const std::string& name, const std::string& password);
  std::optional<User> FindUser(const std::string& name);
  std::optional<User> FindUserByUid(unsigned uid);
  std::vector<User> ListUsers();
  void SetPassword(const std::string& name, const std::string& password);
  // Removes the user with its sessions and tokens; false when there is no such user.
  bool DeleteUser(const std::string& name);

  // Checks a password, counting failures per account and per client address; a run of failures
  // locks further attempts out for a while (kRateLimited, without checking the password).
  LoginResult Login(const std::string& name, const std::string& password,
                    const std::string& client_address, User* user);

  // Sessions: a random id; expire after an idle time.
  std::string CreateSession(unsigned uid);
  std::optional<User> ResolveSession(const std::string& sid);
  void DeleteSession(const std::string& sid);

  // API tokens: the secret is shown once; only its hash is stored.
  std::string CreateToken(const std::string& user_name);
  std::optional<User> ResolveToken(const std::string& token);
  std::vector<TokenInfo> ListTokens();
  bool RevokeToken(int64_t id);

 private:
  sqlite3* db_ = nullptr;
};

}  // namespace QUOR::accounts
