#pragma once
// The one error type of the SQLite wrappers. Everything below the wrappers reports failures as
// sqlite3 result codes; the wrappers turn them into this exception with the database's message.
#include <stdexcept>
#include <string>

struct sqlite3;

namespace Sonvik::sqlite {

class Error : public std::runtime_error {
 public:
  Error(int code, const std::string& message) : std::runtime_error(message), code_(code) {}
  // The primary or extended SQLite result code (SQLITE_BUSY, SQLITE_CONSTRAINT_UNIQUE, ...).
  int code() const noexcept { return code_; }

 private:
  int code_;
};

// Throws Error for `code` with `what` and the connection's last message ("what: message").
// `db` may be null (e.g. when opening failed before a handle existed).
[[noreturn]] void ThrowError(sqlite3* db, int code, const std::string& what);

}  // namespace Sonvik::sqlite
