#include "package/sqlite/error.h"

#include <sqlite3.h>

namespace Sonvik::sqlite {

void ThrowError(sqlite3* db, int code, const std::string& what) {
  const char* message = db != nullptr ? sqlite3_errmsg(db) : sqlite3_errstr(code);
  throw Error(code, what + ": " + message);
}

}  // namespace Sonvik::sqlite
