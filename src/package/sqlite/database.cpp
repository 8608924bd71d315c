#include "package/sqlite/database.h"

#include <utility>

#include "package/sqlite/error.h"

namespace Sonvik::sqlite {

Database::Database(const std::string& path, int flags) {
  const int rc = sqlite3_open_v2(path.c_str(), &db_, flags, nullptr);
  if (rc != SQLITE_OK) {
    // sqlite3_open_v2 hands out a handle even on failure, to carry the message.
    const std::string message = db_ != nullptr ? sqlite3_errmsg(db_) : sqlite3_errstr(rc);
    sqlite3_close_v2(db_);
    db_ = nullptr;
    throw Error(rc, "cannot open " + path + ": " + message);
  }
  sqlite3_extended_result_codes(db_, 1);
}

Database::~Database() { sqlite3_close_v2(db_); }

Database::Database(Database&& other) noexcept : db_(std::exchange(other.db_, nullptr)) {}

Database& Database::operator=(Database&& other) noexcept {
  if (this != &other) {
    sqlite3_close_v2(db_);
    db_ = std::exchange(other.db_, nullptr);
  }
  return *this;
}

void Database::Exec(const char* sql) {
  char* message = nullptr;
  const int rc = sqlite3_exec(db_, sql, nullptr, nullptr, &message);
  if (rc != SQLITE_OK) {
    std::string text = message != nullptr ? message : sqlite3_errstr(rc);
    sqlite3_free(message);
    throw Error(rc, text);
  }
}

void Database::SetBusyTimeout(int milliseconds) { sqlite3_busy_timeout(db_, milliseconds); }

long long Database::PragmaInt(const char* name) {
  const std::string sql = std::string("PRAGMA ") + name;
  sqlite3_stmt* stmt = nullptr;
  int rc = sqlite3_prepare_v2(db_, sql.c_str(), -1, &stmt, nullptr);
  if (rc != SQLITE_OK) ThrowError(db_, rc, sql);
  rc = sqlite3_step(stmt);
  const long long value = rc == SQLITE_ROW ? sqlite3_column_int64(stmt, 0) : 0;
  sqlite3_finalize(stmt);
  if (rc != SQLITE_ROW && rc != SQLITE_DONE) ThrowError(db_, rc, sql);
  return value;
}

long long Database::LastInsertRowid() const noexcept { return sqlite3_last_insert_rowid(db_); }

int Database::Changes() const noexcept { return sqlite3_changes(db_); }

}  // namespace Sonvik::sqlite
