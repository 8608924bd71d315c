#include "package/sqlite/transaction.h"

#include <utility>

#include "package/sqlite/error.h"

namespace Sonvik::sqlite {

Transaction::Transaction(sqlite3* db, Mode mode) : db_(db) {
  const char* sql = mode == Mode::kImmediate ? "BEGIN IMMEDIATE" : "BEGIN";
  const int rc = sqlite3_exec(db_, sql, nullptr, nullptr, nullptr);
  if (rc != SQLITE_OK) ThrowError(db_, rc, sql);
}

Transaction::~Transaction() {
  // A failed statement may already have ended the transaction; then there is nothing to undo.
  if (db_ != nullptr && sqlite3_get_autocommit(db_) == 0) {
    sqlite3_exec(db_, "ROLLBACK", nullptr, nullptr, nullptr);
  }
}

Transaction::Transaction(Transaction&& other) noexcept : db_(std::exchange(other.db_, nullptr)) {}

void Transaction::Commit() {
  const int rc = sqlite3_exec(db_, "COMMIT", nullptr, nullptr, nullptr);
  if (rc != SQLITE_OK) ThrowError(db_, rc, "COMMIT");
  db_ = nullptr;
}

}  // namespace Sonvik::sqlite
