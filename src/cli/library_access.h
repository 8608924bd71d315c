#pragma once
// The CLI's way into the library database.
#include "package/sqlite/database.h"

namespace Sonvik::cli {

// The library database, opened and migrated. Throws std::runtime_error telling the user what to
// do when the package's state folder is missing or the database cannot be opened.
sqlite::Database& OpenLibraryForCli();

}  // namespace Sonvik::cli
