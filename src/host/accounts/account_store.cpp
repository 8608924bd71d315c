#include "host/accounts/account_store.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>

#include "host/accounts/account_schema.h"
#include "host/accounts/account_store_impl.h"
#include "host/accounts/preference_dir.h"

namespace QUOR::accounts {
namespace {

using Sonvik::sqlite::Transaction;

// The file is made before SQLite opens it so that it is never readable by others: it holds
// password hashes. SQLite gives the -wal and -shm files the same mode (and, when we are root,
// the same owner), so a root CLI never locks the server's service account out of them.
void CreatePrivateFile(const std::string& path) {
  int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600);
  if (fd >= 0) {
    ::close(fd);
  } else if (errno == ENOENT) {
    throw AccountError("cannot create " + path +
                       ": its folder is missing; run 'sonvik init' first");
  } else if (errno != EEXIST) {
    throw AccountError("cannot create " + path + ": " + std::strerror(errno));
  }
}

Sonvik::sqlite::Database OpenDatabase(const std::string& path) {
  CreatePrivateFile(path);
  return detail::WithAccountErrors([&] {
    Sonvik::sqlite::Database db(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW);
    // Worker processes share the file; a writer holds the lock for milliseconds.
    db.SetBusyTimeout(5000);
    db.Exec("PRAGMA journal_mode=WAL; PRAGMA synchronous=FULL; PRAGMA foreign_keys=ON;");
    detail::MigrateAccountSchema(db);
    return db;
  });
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

namespace {

// SQLite's own automatic checkpoint threshold, which installing a WAL hook switches off.
constexpr int kAutoCheckpointPages = 1000;

// Called after each commit of this connection, once it is durable and its lock released.
int AfterCommit(void* context, sqlite3* db, const char* schema, int wal_pages) {
  static_cast<detail::ChangeCounter*>(context)->Raise();
  if (wal_pages >= kAutoCheckpointPages) {
    sqlite3_wal_checkpoint_v2(db, schema, SQLITE_CHECKPOINT_PASSIVE, nullptr, nullptr);
  }
  return SQLITE_OK;
}

bool InWalMode(Sonvik::sqlite::Database& db) {
  Sonvik::sqlite::Statement mode(db.get(), "PRAGMA journal_mode");
  return mode.Step() && mode.ColumnText(0) == "wal";
}

}  // namespace

AccountStore::Impl::Impl(const std::string& path, AccountStoreOptions store_options)
    : options(std::move(store_options)), db(OpenDatabase(path)), changes(path + "-changes") {
  detail::InitSodium();
  // The hook sees every commit of this connection; other processes raise the counter through
  // their own. It is only called in WAL mode, so without it nothing is cached.
  sqlite3_wal_hook(db.get(), &AfterCommit, &changes);
  cache_credentials = changes.valid() && detail::WithAccountErrors([&] { return InWalMode(db); });
}

int64_t AccountStore::Impl::Now() const {
  return options.clock ? options.clock() : static_cast<int64_t>(std::time(nullptr));
}

std::optional<User> AccountStore::Impl::Remembered(const detail::CredentialCache& cache,
                                                   const detail::SecretDigest& digest,
                                                   uint64_t generation, int64_t now) const {
  if (!cache_credentials) return std::nullopt;
  return cache.Find(digest, generation, now, detail::kLastUsedGranularitySeconds);
}

User AccountStore::Impl::MakeUser(int64_t uid, std::string_view name) const {
  User user;
  user.uid = static_cast<unsigned>(uid);
  user.name = name;
  user.preference_dir = options.users_dir + "/" + user.name;
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
  sqlite3* db = impl_->db.get();

  std::optional<Transaction> transaction;
  User user = detail::WithAccountErrors([&] {
    transaction.emplace(db);
    if (FindUser(name)) throw AccountError("user '" + name + "' already exists");
    auto insert = detail::Prepare(
        db, "INSERT INTO users(name, password_hash, created) VALUES(?1, ?2, ?3) RETURNING uid",
        name, hash, impl_->Now());
    if (!insert.Step()) throw AccountError("accounts database: the new user got no uid");
    User added = impl_->MakeUser(insert.ColumnInt64(0), name);
    insert.Run();
    return added;
  });

  bool created_dir = detail::MakePreferenceDir(user.preference_dir);
  try {
    // The caller's step keeps its own exceptions; only ours are translated.
    if (before_commit) before_commit(user);
    detail::WithAccountErrors([&] { transaction->Commit(); });
  } catch (...) {
    if (created_dir) detail::RemovePreferenceDir(user.preference_dir);
    throw;
  }
  return user;
}

std::optional<User> AccountStore::FindUser(const std::string& name) {
  return detail::WithAccountErrors([&]() -> std::optional<User> {
    Sonvik::sqlite::CachedStatement select(impl_->statements,
                                           "SELECT uid FROM users WHERE name = ?1");
    detail::BindArgs(*select, name);
    if (!select->Step()) return std::nullopt;
    return impl_->MakeUser(select->ColumnInt64(0), name);
  });
}

std::optional<User> AccountStore::FindUserByUid(unsigned uid) {
  return detail::WithAccountErrors([&]() -> std::optional<User> {
    Sonvik::sqlite::CachedStatement select(impl_->statements,
                                           "SELECT name FROM users WHERE uid = ?1");
    detail::BindArgs(*select, uid);
    if (!select->Step()) return std::nullopt;
    return impl_->MakeUser(uid, select->ColumnText(0));
  });
}

std::vector<User> AccountStore::ListUsers() {
  return detail::WithAccountErrors([&] {
    auto select = detail::Prepare(impl_->db.get(), "SELECT uid, name FROM users ORDER BY uid");
    std::vector<User> users;
    while (select.Step()) {
      users.push_back(impl_->MakeUser(select.ColumnInt64(0), select.ColumnText(1)));
    }
    return users;
  });
}

void AccountStore::SetPassword(const std::string& name, const std::string& password) {
  CheckPassword(password);
  std::string hash = detail::HashPassword(password);
  sqlite3* db = impl_->db.get();
  detail::WithAccountErrors([&] {
    Transaction transaction(db);
    detail::Prepare(db, "UPDATE users SET password_hash = ?2 WHERE name = ?1", name, hash).Run();
    if (impl_->db.Changes() == 0) throw AccountError("no such user '" + name + "'");
    // Whoever knew the old password is logged out.
    detail::Prepare(db, "DELETE FROM sessions WHERE uid = (SELECT uid FROM users WHERE name = ?1)",
                    name)
        .Run();
    transaction.Commit();
  });
}

bool AccountStore::DeleteUser(const std::string& name) {
  sqlite3* db = impl_->db.get();
  auto user = detail::WithAccountErrors([&]() -> std::optional<User> {
    Transaction transaction(db);
    auto found = FindUser(name);
    if (!found) return std::nullopt;
    // Sessions and tokens go with the row (ON DELETE CASCADE).
    detail::Prepare(db, "DELETE FROM users WHERE uid = ?1", found->uid).Run();
    detail::Prepare(db, "DELETE FROM login_failures WHERE scope = 'account' AND key = ?1", name)
        .Run();
    transaction.Commit();
    return found;
  });
  if (!user) return false;
  detail::RemovePreferenceDir(user->preference_dir);
  return true;
}

namespace detail {

void BindOne(Sonvik::sqlite::Statement& statement, int index, const SecretDigest& digest) {
  int rc = sqlite3_bind_blob(statement.get(), index, digest.data(), static_cast<int>(digest.size()),
                             SQLITE_TRANSIENT);
  if (rc != SQLITE_OK) {
    Sonvik::sqlite::ThrowError(sqlite3_db_handle(statement.get()), rc, "bind");
  }
}

}  // namespace detail
}  // namespace QUOR::accounts
