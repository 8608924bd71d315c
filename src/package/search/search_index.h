#pragma once
// The voice-matching index of the track search engine, kept in the library database beside the
// tracks table. The scanner and the library call these inside their own transactions, so the
// index never disagrees with the tracks.
#include <cstdint>
#include <map>
#include <string>
#include <tuple>

#include "package/search/track_set.h"

struct sqlite3;

namespace Sonvik::search {

// Creates the index's tables when missing; called by the library database's schema migration.
// Throws sqlite::Error.
void CreateSearchIndexSchema(sqlite3* db);
// (Re)indexes one track's title, album and artist under its id. The track's row must already be
// in the tracks table: its library, disc and track number are read from there. Throws
// sqlite::Error, or std::runtime_error (changing nothing) when the row is missing.
void IndexTrack(sqlite3* db, int64_t track_id, const std::string& title, const std::string& album,
                const std::string& artist);
// Removes a track from the index; a track that was never indexed is left alone. Needs nothing
// from the tracks table, so it may run before or after the row is deleted. Throws sqlite::Error.
void UnindexTrack(sqlite3* db, int64_t track_id);

// Batches the posting writes of IndexTrack/UnindexTrack on `db` while it lives (on this thread):
// each posting row a batch touches is read once, changed in memory and written once by Flush(),
// instead of being rewritten for every token of every track. Create it inside the transaction
// and call Flush() right before committing; everything else the index writes goes straight to
// the database. Until then the postings in the database lag behind, so do not search through
// `db` in between. Destroying an unflushed batch drops its changes (the transaction is being
// rolled back then). A second batch on a connection that has one open on this thread is refused
// with std::logic_error, since it would read rows the first one has not written yet.
class SearchIndexBatch {
 public:
  explicit SearchIndexBatch(sqlite3* db);
  ~SearchIndexBatch();
  SearchIndexBatch(const SearchIndexBatch&) = delete;
  SearchIndexBatch& operator=(const SearchIndexBatch&) = delete;

  // Writes every changed posting row (deleting the ones left empty). Throws sqlite::Error.
  void Flush();

  // (kind, token, chunk) -> the row's bits as they stand in this transaction.
  using Key = std::tuple<int, std::string, int64_t>;
  sqlite3* db() const { return db_; }
  std::map<Key, ChunkBits>& dirty() { return dirty_; }

 private:
  sqlite3* db_;
  SearchIndexBatch* outer_;
  std::map<Key, ChunkBits> dirty_;
};

}  // namespace Sonvik::search
