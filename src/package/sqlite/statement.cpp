#include "package/sqlite/statement.h"

#include <utility>

#include "package/sqlite/error.h"

namespace Sonvik::sqlite {

Statement::Statement(sqlite3* db, std::string_view sql, bool persistent) {
  const unsigned flags = persistent ? SQLITE_PREPARE_PERSISTENT : 0;
  const int rc =
      sqlite3_prepare_v3(db, sql.data(), static_cast<int>(sql.size()), flags, &stmt_, nullptr);
  if (rc != SQLITE_OK) ThrowError(db, rc, "cannot prepare \"" + std::string(sql) + "\"");
}

Statement::~Statement() { sqlite3_finalize(stmt_); }

Statement::Statement(Statement&& other) noexcept : stmt_(std::exchange(other.stmt_, nullptr)) {}

Statement& Statement::operator=(Statement&& other) noexcept {
  if (this != &other) {
    sqlite3_finalize(stmt_);
    stmt_ = std::exchange(other.stmt_, nullptr);
  }
  return *this;
}

namespace {
void CheckBind(sqlite3_stmt* stmt, int rc) {
  if (rc != SQLITE_OK) ThrowError(sqlite3_db_handle(stmt), rc, "cannot bind a parameter");
}
}  // namespace

void Statement::Bind(int index, int64_t value) {
  CheckBind(stmt_, sqlite3_bind_int64(stmt_, index, value));
}

void Statement::Bind(int index, double value) {
  CheckBind(stmt_, sqlite3_bind_double(stmt_, index, value));
}

void Statement::Bind(int index, std::string_view value) {
  CheckBind(stmt_, sqlite3_bind_text64(stmt_, index, value.data(), value.size(), SQLITE_TRANSIENT,
                                       SQLITE_UTF8));
}

void Statement::BindNull(int index) { CheckBind(stmt_, sqlite3_bind_null(stmt_, index)); }

bool Statement::Step() {
  const int rc = sqlite3_step(stmt_);
  if (rc == SQLITE_ROW) return true;
  if (rc == SQLITE_DONE) return false;
  // Leave the statement reusable after the failure has been reported.
  sqlite3* db = sqlite3_db_handle(stmt_);
  const std::string sql = sqlite3_sql(stmt_) != nullptr ? sqlite3_sql(stmt_) : "";
  Error error(rc, sql + ": " + sqlite3_errmsg(db));
  sqlite3_reset(stmt_);
  throw error;
}

void Statement::Reset() noexcept {
  sqlite3_reset(stmt_);
  sqlite3_clear_bindings(stmt_);
}

int64_t Statement::ColumnInt64(int column) const noexcept {
  return sqlite3_column_int64(stmt_, column);
}

int Statement::ColumnInt(int column) const noexcept { return sqlite3_column_int(stmt_, column); }

double Statement::ColumnDouble(int column) const noexcept {
  return sqlite3_column_double(stmt_, column);
}

std::string_view Statement::ColumnText(int column) const noexcept {
  const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(stmt_, column));
  if (text == nullptr) return {};
  return {text, static_cast<size_t>(sqlite3_column_bytes(stmt_, column))};
}

bool Statement::ColumnIsNull(int column) const noexcept {
  return sqlite3_column_type(stmt_, column) == SQLITE_NULL;
}

}  // namespace Sonvik::sqlite
