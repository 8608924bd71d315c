#pragma once
// A minimal private SQLite wrapper for the account store. Every failure becomes an AccountError
// carrying SQLite's message. Kept small on purpose so that it can give way to the package's
// shared SQLite wrappers without touching the store's logic.
#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace QUOR::accounts::detail {

class Statement;

// One open connection; move-only, closed on destruction.
class Connection {
 public:
  // Opens (creating when `create`) the database at `path`. Throws AccountError.
  Connection(const std::string& path, bool create);
  ~Connection();
  Connection(Connection&& other) noexcept;
  Connection& operator=(Connection&&) = delete;
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // Runs one or more statements without results.
  void Exec(const char* sql);
  Statement Prepare(const char* sql);
  // Rows changed by the last INSERT, UPDATE or DELETE.
  int Changes() const;
  [[noreturn]] void Fail(const char* what) const;

  sqlite3* get() const { return db_; }

 private:
  sqlite3* db_ = nullptr;
};

// A prepared statement; move-only, finalized on destruction.
class Statement {
 public:
  Statement(const Connection& connection, const char* sql);
  ~Statement();
  Statement(Statement&& other) noexcept;
  Statement& operator=(Statement&&) = delete;
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  // Parameters count from 1, as in SQLite.
  Statement& Bind(int index, int64_t value);
  Statement& Bind(int index, std::string_view text);
  Statement& BindBlob(int index, const void* data, size_t size);

  // True when a row is ready; false when done. Throws AccountError on failure (a busy database
  // past the busy timeout included).
  bool Step();
  // Runs a statement that returns no rows.
  void Run();
  void Reset();

  int64_t Int64(int column) const;
  std::string Text(int column) const;

 private:
  const Connection* connection_;
  sqlite3_stmt* stmt_ = nullptr;
};

// BEGIN IMMEDIATE: takes the write lock up front, so two writers wait on the busy timeout instead
// of failing half-way with SQLITE_BUSY. Rolls back unless committed.
class WriteTransaction {
 public:
  explicit WriteTransaction(Connection& connection);
  ~WriteTransaction();
  WriteTransaction(const WriteTransaction&) = delete;
  WriteTransaction& operator=(const WriteTransaction&) = delete;
  void Commit();

 private:
  Connection& connection_;
  bool open_ = true;
};

}  // namespace QUOR::accounts::detail
