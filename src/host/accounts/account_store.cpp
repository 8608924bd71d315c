#include "host/accounts/account_store.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "host/accounts/account_schema.h"
#include "host/accounts/account_store_impl.h"
#include "host/accounts/preference_dir.h"
#include "host/accounts/secrets.h"

namespace QUOR::accounts {
namespace {

// The file is made before SQLite opens it so that it is never readable by others: it holds
// password hashes. SQLite gives the -wal and -shm files the same mode (and, when we are root,
// the same owner), so a root CLI never locks the server's service account out of them.
void CreatePrivateFile(const std::string& path) {
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd >= 0) {
    ::close(fd);
  } else if (errno != EEXIST) {
    throw AccountError("cannot create " + path + ": " + std::strerror(errno));
  }
}

detail::Connection OpenDatabase(const std::string& path) {
  CreatePrivateFile(path);
  detail::Connection db(path, /*create=*/false);
  // Worker processes share the file; a writer holds the lock for milliseconds.
  sqlite3_busy_timeout(db.get(), 5000);
  db.Exec("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON;");
  return db;
}

void CheckPassword(const std::string& password) {
  if (password.empty()) throw AccountError("the password must not be empty");
}

void CheckUserName(const std::string& name) {
  if (!IsValidUserName(name)) {
    throw AccountError("'" + name +
                       "' is not a valid user name: use 1 to 64 characters of A-Z, a-z, 0-9, "
                       "'.', '_' and '-' (not '.' or '..')");
  }
}

}  // namespace

bool IsValidUserName(const std::string& name) {
  if (name.empty() || name.size() > 64 || name == "." || name == "..") return false;
  for (char c : name) {
    bool ok = (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') ||
              c == '.' || c == '_' || c == '-';
    if (!ok) return false;
  }
  return true;
}

AccountStore::Impl::Impl(const std::string& path, AccountStoreOptions store_options)
    : options(std::move(store_options)), db(OpenDatabase(path)) {
  detail::InitSodium();
  detail::MigrateAccountSchema(db);
}

int64_t AccountStore::Impl::Now() const {
  return options.clock ? options.clock() : static_cast<int64_t>(std::time(nullptr));
}

User AccountStore::Impl::MakeUser(int64_t uid, std::string name) const {
  User user;
  user.uid = static_cast<unsigned>(uid);
  user.preference_dir = options.users_dir + "/" + name;
  user.name = std::move(name);
  return user;
}

AccountStore::AccountStore(const std::string& path) : AccountStore(path, AccountStoreOptions{}) {}

AccountStore::AccountStore(const std::string& path, AccountStoreOptions options)
    : impl_(std::make_unique<Impl>(path, std::move(options))) {}

AccountStore::~AccountStore() = default;

User AccountStore::AddUser(const std::string& name, const std::string& password) {
  return AddUser(name, password, nullptr);
}

User AccountStore::AddUser(const std::string& name, const std::string& password,
                           const std::function<void(const User&)>& before_commit) {
  CheckUserName(name);
  CheckPassword(password);
  // Hashing takes a while: do it before taking the write lock.
  std::string hash = detail::HashPassword(password);

  detail::WriteTransaction transaction(impl_->db);
  if (FindUser(name)) throw AccountError("user '" + name + "' already exists");
  auto insert = impl_->db.Prepare(
      "INSERT INTO users(name, password_hash, created) VALUES(?1, ?2, ?3) RETURNING uid");
  insert.Bind(1, name).Bind(2, hash).Bind(3, impl_->Now());
  if (!insert.Step()) impl_->db.Fail("insert user");
  User user = impl_->MakeUser(insert.Int64(0), name);
  insert.Run();

  bool created_dir = detail::MakePreferenceDir(user.preference_dir);
  try {
    if (before_commit) before_commit(user);
    transaction.Commit();
  } catch (...) {
    if (created_dir) detail::RemovePreferenceDir(user.preference_dir);
    throw;
  }
  return user;
}

std::optional<User> AccountStore::FindUser(const std::string& name) {
  auto select = impl_->db.Prepare("SELECT uid FROM users WHERE name = ?1");
  select.Bind(1, name);
  if (!select.Step()) return std::nullopt;
  return impl_->MakeUser(select.Int64(0), name);
}

std::optional<User> AccountStore::FindUserByUid(unsigned uid) {
  auto select = impl_->db.Prepare("SELECT name FROM users WHERE uid = ?1");
  select.Bind(1, static_cast<int64_t>(uid));
  if (!select.Step()) return std::nullopt;
  return impl_->MakeUser(uid, select.Text(0));
}

std::vector<User> AccountStore::ListUsers() {
  auto select = impl_->db.Prepare("SELECT uid, name FROM users ORDER BY uid");
  std::vector<User> users;
  while (select.Step()) users.push_back(impl_->MakeUser(select.Int64(0), select.Text(1)));
  return users;
}

void AccountStore::SetPassword(const std::string& name, const std::string& password) {
  CheckPassword(password);
  std::string hash = detail::HashPassword(password);
  detail::WriteTransaction transaction(impl_->db);
  auto update = impl_->db.Prepare("UPDATE users SET password_hash = ?2 WHERE name = ?1");
  update.Bind(1, name).Bind(2, hash).Run();
  if (impl_->db.Changes() == 0) throw AccountError("no such user '" + name + "'");
  // Whoever knew the old password is logged out.
  impl_->db.Prepare("DELETE FROM sessions WHERE uid = (SELECT uid FROM users WHERE name = ?1)")
      .Bind(1, name)
      .Run();
  transaction.Commit();
}

bool AccountStore::DeleteUser(const std::string& name) {
  auto user = FindUser(name);
  if (!user) return false;
  {
    detail::WriteTransaction transaction(impl_->db);
    // Sessions and tokens go with the row (ON DELETE CASCADE).
    impl_->db.Prepare("DELETE FROM users WHERE uid = ?1")
        .Bind(1, static_cast<int64_t>(user->uid))
        .Run();
    if (impl_->db.Changes() == 0) return false;  // deleted by someone else meanwhile
    impl_->db.Prepare("DELETE FROM login_failures WHERE scope = 'account' AND key = ?1")
        .Bind(1, name)
        .Run();
    transaction.Commit();
  }
  detail::RemovePreferenceDir(user->preference_dir);
  return true;
}

}  // namespace QUOR::accounts
