#include "package/library/library_database.h"

#include <unistd.h>

#include <memory>

#include "package/library/schema_migrations.h"
#include "package/library/service_account_files.h"

namespace Sonvik::library {

namespace {
// Long enough to ride out a scan's batch commit, short enough that a stuck writer surfaces.
constexpr int kBusyTimeoutMs = 15000;
}  // namespace

sqlite::Database OpenLibraryDatabase(const std::string& path) {
  sqlite::Database db(path);
  db.SetBusyTimeout(kBusyTimeoutMs);
  // journal_mode is kept in the file; asking again on a WAL database changes nothing.
  db.Exec("PRAGMA journal_mode = WAL");
  db.Exec("PRAGMA synchronous = NORMAL");
  db.Exec("PRAGMA foreign_keys = ON");
  MigrateLibraryDatabase(db.get());
  // The WAL and shared-memory files exist while a connection is open; whoever opened first
  // created them, so a root process hands all three over.
  for (const char* suffix : {"", "-wal", "-shm"}) GiveToServiceAccount(path + suffix);
  return db;
}

namespace {
struct ProcessConnection {
  pid_t owner = 0;
  std::unique_ptr<sqlite::Database> db;
  // Finalized before `db` closes.
  std::unique_ptr<sqlite::StatementCache> statements;
};
ProcessConnection& Connection() {
  static ProcessConnection connection;
  return connection;
}
}  // namespace

sqlite::Database& ProcessLibraryDatabase() {
  ProcessConnection& connection = Connection();
  if (connection.db != nullptr && connection.owner != getpid()) {
    // Inherited over fork: closing it here could disturb the parent's locks, so let it go.
    (void)connection.statements.release();
    (void)connection.db.release();
  }
  if (connection.db == nullptr) {
    connection.db = std::make_unique<sqlite::Database>(OpenLibraryDatabase());
    connection.statements = std::make_unique<sqlite::StatementCache>(connection.db->get());
    connection.owner = getpid();
  }
  return *connection.db;
}

sqlite::StatementCache& ProcessLibraryStatements() {
  ProcessLibraryDatabase();
  return *Connection().statements;
}

void CloseProcessLibraryDatabase() {
  ProcessConnection& connection = Connection();
  if (connection.owner != getpid()) {
    (void)connection.statements.release();
    (void)connection.db.release();
  }
  connection.statements.reset();
  connection.db.reset();
}

}  // namespace Sonvik::library
