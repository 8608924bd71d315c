#include "package/search/search_index.h"

// Placeholder until the voice-matching index lands: nothing is indexed.
namespace Sonvik::search {
void CreateSearchIndexSchema(sqlite3*) {}
void IndexTrack(sqlite3*, int64_t, const std::string&, const std::string&, const std::string&) {}
void UnindexTrack(sqlite3*, int64_t) {}
}  // namespace Sonvik::search
