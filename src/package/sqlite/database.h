#pragma once
// A move-only owner of one SQLite connection.
#include <sqlite3.h>

#include <string>

namespace Sonvik::sqlite {

class Database {
 public:
  Database() = default;
  // Opens `path` with sqlite3_open_v2 `flags` (SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE by
  // default). Extended result codes are switched on. Throws Error when the file cannot be opened.
  explicit Database(const std::string& path,
                    int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE);
  ~Database();
  Database(Database&& other) noexcept;
  Database& operator=(Database&& other) noexcept;
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // The raw handle for code that talks to SQLite directly; still owned by this object.
  sqlite3* get() const noexcept { return db_; }
  explicit operator bool() const noexcept { return db_ != nullptr; }

  // Runs one or more statements without results (DDL, PRAGMAs). Throws Error.
  void Exec(const char* sql);
  // Waits up to `milliseconds` on a locked database before SQLITE_BUSY.
  void SetBusyTimeout(int milliseconds);
  // Reads an integer PRAGMA such as "user_version". Throws Error.
  long long PragmaInt(const char* name);

  long long LastInsertRowid() const noexcept;
  // Rows changed by the last INSERT, UPDATE or DELETE.
  int Changes() const noexcept;

 private:
  sqlite3* db_ = nullptr;
};

}  // namespace Sonvik::sqlite
