#include "host/accounts/sqlite_helper.h"

#include "host/accounts/account_store.h"

namespace QUOR::accounts::detail {

Connection::Connection(const std::string& path, bool create) {
  int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_NOFOLLOW | (create ? SQLITE_OPEN_CREATE : 0);
  int rc = sqlite3_open_v2(path.c_str(), &db_, flags, nullptr);
  if (rc != SQLITE_OK) {
    std::string message = db_ ? sqlite3_errmsg(db_) : sqlite3_errstr(rc);
    sqlite3_close(db_);
    db_ = nullptr;
    throw AccountError("cannot open " + path + ": " + message);
  }
  sqlite3_extended_result_codes(db_, 1);
}

Connection::~Connection() { sqlite3_close(db_); }

Connection::Connection(Connection&& other) noexcept : db_(other.db_) { other.db_ = nullptr; }

void Connection::Exec(const char* sql) {
  if (sqlite3_exec(db_, sql, nullptr, nullptr, nullptr) != SQLITE_OK) Fail("exec");
}

Statement Connection::Prepare(const char* sql) { return Statement(*this, sql); }

int Connection::Changes() const { return sqlite3_changes(db_); }

void Connection::Fail(const char* what) const {
  throw AccountError(std::string("accounts database: ") + what + ": " + sqlite3_errmsg(db_));
}

Statement::Statement(const Connection& connection, const char* sql) : connection_(&connection) {
  if (sqlite3_prepare_v2(connection.get(), sql, -1, &stmt_, nullptr) != SQLITE_OK) {
    connection.Fail("prepare");
  }
}

Statement::~Statement() { sqlite3_finalize(stmt_); }

Statement::Statement(Statement&& other) noexcept
    : connection_(other.connection_), stmt_(other.stmt_) {
  other.stmt_ = nullptr;
}

Statement& Statement::Bind(int index, int64_t value) {
  if (sqlite3_bind_int64(stmt_, index, value) != SQLITE_OK) connection_->Fail("bind");
  return *this;
}

Statement& Statement::Bind(int index, std::string_view text) {
  if (sqlite3_bind_text(stmt_, index, text.data(), static_cast<int>(text.size()),
                        SQLITE_TRANSIENT) != SQLITE_OK) {
    connection_->Fail("bind");
  }
  return *this;
}

Statement& Statement::BindBlob(int index, const void* data, size_t size) {
  if (sqlite3_bind_blob(stmt_, index, data, static_cast<int>(size), SQLITE_TRANSIENT) !=
      SQLITE_OK) {
    connection_->Fail("bind");
  }
  return *this;
}

bool Statement::Step() {
  int rc = sqlite3_step(stmt_);
  if (rc == SQLITE_ROW) return true;
  if (rc == SQLITE_DONE) return false;
  connection_->Fail("step");
}

void Statement::Run() {
  while (Step()) {
  }
}

void Statement::Reset() {
  sqlite3_reset(stmt_);
  sqlite3_clear_bindings(stmt_);
}

int64_t Statement::Int64(int column) const { return sqlite3_column_int64(stmt_, column); }

std::string Statement::Text(int column) const {
  const auto* text = sqlite3_column_text(stmt_, column);
  if (text == nullptr) return {};
  return std::string(reinterpret_cast<const char*>(text),
                     static_cast<size_t>(sqlite3_column_bytes(stmt_, column)));
}

WriteTransaction::WriteTransaction(Connection& connection) : connection_(connection) {
  connection_.Exec("BEGIN IMMEDIATE");
}

WriteTransaction::~WriteTransaction() {
  if (open_) sqlite3_exec(connection_.get(), "ROLLBACK", nullptr, nullptr, nullptr);
}

void WriteTransaction::Commit() {
  connection_.Exec("COMMIT");
  open_ = false;
}

}  // namespace QUOR::accounts::detail
