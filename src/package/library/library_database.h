#pragma once
// Opening the library database (tracks, music folders, the search index beside them).
//
// The scanner writes while the server's workers read: WAL lets readers go on during a scan, and
// a busy timeout makes a writer wait for another rather than fail. Tracks and the search index
// can be rebuilt from the music files, so commits use synchronous=NORMAL (a power cut may lose the
// last commits but never corrupts the file).
#include <string>

#include "package/paths.h"
#include "package/sqlite/database.h"
#include "package/sqlite/statement_cache.h"

namespace Sonvik::library {

// Opens (creating when missing) and migrates the library database at `path`. Run as root, it
// hands the database files to the service account when that account exists, so that the server
// can still write the WAL after a root scan. Throws sqlite::Error or std::runtime_error with a
// message for the user.
sqlite::Database OpenLibraryDatabase(const std::string& path = paths::kLibraryDb);

// This process's connection to paths::kLibraryDb, opened on first use and kept open (workers
// keep their connections between requests). A child forked after the parent opened it gets a
// fresh connection of its own. Not for use from several threads at once. Throws like
// OpenLibraryDatabase.
sqlite::Database& ProcessLibraryDatabase();

// Prepared statements kept on that connection, for the lookups every request makes. Throws like
// ProcessLibraryDatabase.
sqlite::StatementCache& ProcessLibraryStatements();

// Closes the process's connection (the next ProcessLibraryDatabase() opens it again); lets
// tests and the CLI start from a fresh file.
void CloseProcessLibraryDatabase();

}  // namespace Sonvik::library
