#pragma once
// A scoped transaction: begun on construction, rolled back on destruction unless committed.
// A crash or an exception in between therefore leaves the database as it was before.
#include <sqlite3.h>

namespace Sonvik::sqlite {

class Transaction {
 public:
  enum class Mode { kDeferred, kImmediate };

  // BEGIN on `db`, which must outlive the transaction. kImmediate takes the write lock at once,
  // so a writer waits on the busy timeout here rather than failing at its first write. Throws.
  explicit Transaction(sqlite3* db, Mode mode = Mode::kImmediate);
  ~Transaction();
  Transaction(Transaction&& other) noexcept;
  Transaction& operator=(Transaction&&) = delete;
  Transaction(const Transaction&) = delete;
  Transaction& operator=(const Transaction&) = delete;

  // COMMIT. Throws Error (the transaction is then rolled back by the destructor).
  void Commit();

 private:
  sqlite3* db_ = nullptr;  // null once committed or moved from
};

}  // namespace Sonvik::sqlite
