#pragma once
// Forgetting what a music folder held.
#include <cstdint>

struct sqlite3;

namespace Sonvik::library {

// Deletes every track (and its search index entry) and playlist file recorded for
// library `library_id`. Runs inside the caller's transaction. Throws sqlite::Error.
void DeleteLibraryContents(sqlite3* db, int64_t library_id);

}  // namespace Sonvik::library
