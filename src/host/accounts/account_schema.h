#pragma once
#include "package/sqlite/database.h"

namespace QUOR::accounts::detail {

// Brings the database's schema (PRAGMA user_version) up to the newest version in one
// transaction. Throws AccountError for a database newer than this program, sqlite::Error when
// the database fails.
void MigrateAccountSchema(Sonvik::sqlite::Database& db);

}  // namespace QUOR::accounts::detail
