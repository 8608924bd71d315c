#pragma once
// Prepared statements kept for the connection's lifetime, for queries that run on every request
// (resolving a session, looking a track up): preparing them each time cost more than running
// them.
#include <sqlite3.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "package/sqlite/statement.h"

namespace Sonvik::sqlite {

class StatementCache {
 public:
  explicit StatementCache(sqlite3* db) : db_(db) {}
  StatementCache(const StatementCache&) = delete;
  StatementCache& operator=(const StatementCache&) = delete;

  struct Entry {
    std::string sql;
    Statement statement;
    bool in_use = false;
  };
  // The entry for `sql`, prepared on first use. Throws Sonvik::sqlite::Error.
  Entry& Get(std::string_view sql);
  sqlite3* db() const noexcept { return db_; }

 private:
  sqlite3* db_;
  // A handful of queries: a linear search beats hashing them. Pointers keep entries in place.
  std::vector<std::unique_ptr<Entry>> entries_;
};

// One use of a cached statement. It is reset when this ends, so no read stays open to hold back
// other processes' writes or checkpoints. A statement already in use further up the stack is
// not shared: this use gets its own, freshly prepared.
class CachedStatement {
 public:
  CachedStatement(StatementCache& cache, std::string_view sql);
  ~CachedStatement();
  CachedStatement(const CachedStatement&) = delete;
  CachedStatement& operator=(const CachedStatement&) = delete;

  Statement& operator*() noexcept { return *statement_; }
  Statement* operator->() noexcept { return statement_; }

 private:
  StatementCache::Entry* entry_ = nullptr;  // null when using `own_`
  std::optional<Statement> own_;
  Statement* statement_ = nullptr;
};

}  // namespace Sonvik::sqlite
