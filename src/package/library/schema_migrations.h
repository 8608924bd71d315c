#pragma once
// The library database's schema, versioned with PRAGMA user_version.
struct sqlite3;

namespace Sonvik::library {

// The version a fully migrated database has (the number of migration steps).
int LatestSchemaVersion();

// Brings `db` up to LatestSchemaVersion(), running the missing steps in order inside one
// IMMEDIATE transaction, so concurrent openers migrate once and a crash leaves the old version.
// Throws sqlite::Error, or std::runtime_error when the database is newer than this program.
void MigrateLibraryDatabase(sqlite3* db);

}  // namespace Sonvik::library
