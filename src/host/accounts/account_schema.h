#pragma once
#include "host/accounts/sqlite_helper.h"

namespace QUOR::accounts::detail {

// Brings the database's schema (PRAGMA user_version) up to the newest version, each step in one
// transaction. Throws AccountError for a database newer than this program.
void MigrateAccountSchema(Connection& db);

}  // namespace QUOR::accounts::detail
