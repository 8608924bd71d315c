#include "host/accounts/account_schema.h"

#include <iterator>
#include <string>

#include "host/accounts/account_store.h"
#include "package/sqlite/transaction.h"

namespace QUOR::accounts::detail {
namespace {

// Step N takes the schema from version N to N+1. Append, never edit a shipped step.
constexpr const char* kMigrations[] = {
    // 0 -> 1. uids start at 1024 and are never reused (AUTOINCREMENT keeps the high mark in
    // sqlite_sequence, seeded here). Secrets are stored as digests only.
    R"sql(
    CREATE TABLE users(
      uid INTEGER PRIMARY KEY AUTOINCREMENT,
      name TEXT NOT NULL UNIQUE,
      password_hash TEXT NOT NULL,
      created INTEGER NOT NULL);
    INSERT INTO sqlite_sequence(name, seq) VALUES('users', 1023);
    CREATE TABLE sessions(
      id_digest BLOB PRIMARY KEY,
      uid INTEGER NOT NULL REFERENCES users(uid) ON DELETE CASCADE,
      created INTEGER NOT NULL,
      last_used INTEGER NOT NULL) WITHOUT ROWID;
    CREATE INDEX sessions_by_uid ON sessions(uid);
    CREATE TABLE tokens(
      id INTEGER PRIMARY KEY,
      uid INTEGER NOT NULL REFERENCES users(uid) ON DELETE CASCADE,
      secret_digest BLOB NOT NULL UNIQUE,
      created INTEGER NOT NULL,
      last_used INTEGER NOT NULL DEFAULT 0);
    CREATE INDEX tokens_by_uid ON tokens(uid);
    CREATE TABLE login_failures(
      scope TEXT NOT NULL,
      key TEXT NOT NULL,
      window_start INTEGER NOT NULL,
      count INTEGER NOT NULL,
      PRIMARY KEY(scope, key)) WITHOUT ROWID;
    )sql",
};
constexpr int64_t kNewestVersion = static_cast<int64_t>(std::size(kMigrations));

int64_t SchemaVersion(Sonvik::sqlite::Database& db) { return db.PragmaInt("user_version"); }

}  // namespace

void MigrateAccountSchema(Sonvik::sqlite::Database& db) {
  if (SchemaVersion(db) == kNewestVersion) return;
  Sonvik::sqlite::Transaction transaction(db.get());
  // Another process may have migrated while we waited for the write lock.
  int64_t version = SchemaVersion(db);
  if (version > kNewestVersion) {
    throw AccountError("the accounts database has schema version " + std::to_string(version) +
                       ", newer than this program knows (" + std::to_string(kNewestVersion) +
                       "); install a newer sonvik");
  }
  for (; version < kNewestVersion; ++version) db.Exec(kMigrations[version]);
  // PRAGMA takes no bound parameters.
  db.Exec(("PRAGMA user_version = " + std::to_string(kNewestVersion)).c_str());
  transaction.Commit();
}

}  // namespace QUOR::accounts::detail
