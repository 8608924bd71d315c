#pragma once
// A move-only prepared statement. Prepare once, then bind, step and reset it as often as needed:
// that is what makes bulk inserts fast.
#include <sqlite3.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace Sonvik::sqlite {

class Statement {
 public:
  Statement() = default;
  // Prepares `sql` (one statement) on `db`, which must outlive the statement. Throws Error.
  // `persistent` hints SQLite that the statement will be reused many times.
  Statement(sqlite3* db, std::string_view sql, bool persistent = false);
  ~Statement();
  Statement(Statement&& other) noexcept;
  Statement& operator=(Statement&& other) noexcept;
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  sqlite3_stmt* get() const noexcept { return stmt_; }

  // Binds parameter `index` (1-based). Text is copied by SQLite. Throw Error.
  void Bind(int index, int64_t value);
  void Bind(int index, int value) { Bind(index, static_cast<int64_t>(value)); }
  void Bind(int index, unsigned value) { Bind(index, static_cast<int64_t>(value)); }
  void Bind(int index, double value);
  void Bind(int index, std::string_view value);
  void Bind(int index, const char* value) { Bind(index, std::string_view(value)); }
  void Bind(int index, const std::string& value) { Bind(index, std::string_view(value)); }
  void BindNull(int index);
  // Binds every argument in order, starting at parameter 1.
  template <typename... Args>
  void BindAll(const Args&... args) {
    int index = 0;
    (Bind(++index, args), ...);
  }

  // Runs one step: true when a row is ready to read, false when the statement is done.
  // Throws Error on failure (SQLITE_BUSY after the busy timeout included).
  bool Step();
  // Steps a statement that returns no rows to its end.
  void Run() {
    while (Step()) {
    }
  }
  // Makes the statement ready to run again; clears the bindings too.
  void Reset() noexcept;

  // Column readers for the current row (0-based). Text is empty for NULL; the view is valid
  // until the next Step, Reset or destruction.
  int64_t ColumnInt64(int column) const noexcept;
  int ColumnInt(int column) const noexcept;
  double ColumnDouble(int column) const noexcept;
  std::string_view ColumnText(int column) const noexcept;
  bool ColumnIsNull(int column) const noexcept;

 private:
  sqlite3_stmt* stmt_ = nullptr;
};

}  // namespace Sonvik::sqlite
