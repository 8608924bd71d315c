#include "package/search/search_index.h"

#include <sqlite3.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "package/search/index_layout.h"
#include "package/search/track_set.h"
#include "package/search/voice_fold.h"
#include "package/sqlite/error.h"
#include "package/sqlite/statement.h"

namespace Sonvik::search {
namespace {

// search_track: what was indexed per track (to undo it exactly, to verify long matches, and to
// sort by album without touching the tracks table). search_posting: per kind and folded token,
// the track ids in chunks (see track_set.h). search_span: per kind, a token and the tokens after
// it (see index_layout.h), for keywords that span several tag tokens.
constexpr const char* kSchema = R"sql(
  CREATE TABLE IF NOT EXISTS search_track (
    track_id INTEGER PRIMARY KEY,
    library_id INTEGER NOT NULL,
    album_tokens TEXT NOT NULL,
    artist_tokens TEXT NOT NULL,
    title_tokens TEXT NOT NULL,
    album_order TEXT NOT NULL,
    disc INTEGER NOT NULL,
    track_number INTEGER NOT NULL
  );
  CREATE INDEX IF NOT EXISTS search_track_album_order
    ON search_track (album_order, disc, track_number, track_id);
  CREATE TABLE IF NOT EXISTS search_posting (
    kind INTEGER NOT NULL,
    token TEXT NOT NULL,
    chunk INTEGER NOT NULL,
    ids BLOB NOT NULL,
    PRIMARY KEY (kind, token, chunk)
  ) WITHOUT ROWID;
  CREATE TABLE IF NOT EXISTS search_span (
    kind INTEGER NOT NULL,
    first TEXT NOT NULL,
    rest TEXT NOT NULL,
    track_id INTEGER NOT NULL,
    bounds BLOB NOT NULL,
    PRIMARY KEY (kind, first, rest, track_id)
  ) WITHOUT ROWID;
)sql";

void ExecSchema(sqlite3* db) {
  char* message = nullptr;
  const int rc = sqlite3_exec(db, kSchema, nullptr, nullptr, &message);
  if (rc != SQLITE_OK) {
    const std::string text = message != nullptr ? message : sqlite3_errstr(rc);
    sqlite3_free(message);
    throw sqlite::Error(rc, "search index schema: " + text);
  }
}

constexpr std::array<index::Kind, 3> kTagKinds = {index::kAlbum, index::kArtist, index::kTitle};

// The writer's statements for one connection. A scan indexes every track through here, so the
// statements are prepared once per connection rather than once per track.
struct Writer {
  explicit Writer(sqlite3* connection)
      : db(connection),
        pid(getpid()),
        read_track(db, "SELECT library_id, disc, track_number FROM tracks WHERE id = ?", true),
        read_indexed(db,
                     "SELECT library_id, album_tokens, artist_tokens, title_tokens "
                     "FROM search_track WHERE track_id = ?",
                     true),
        insert_indexed(db, "INSERT OR REPLACE INTO search_track VALUES (?, ?, ?, ?, ?, ?, ?, ?)",
                       true),
        delete_indexed(db, "DELETE FROM search_track WHERE track_id = ?", true),
        read_posting(
            db, "SELECT ids FROM search_posting WHERE kind = ? AND token = ? AND chunk = ?", true),
        write_posting(db, "INSERT OR REPLACE INTO search_posting VALUES (?, ?, ?, ?)", true),
        delete_posting(db, "DELETE FROM search_posting WHERE kind = ? AND token = ? AND chunk = ?",
                       true),
        insert_span(db, "INSERT OR REPLACE INTO search_span VALUES (?, ?, ?, ?, ?)", true),
        delete_span(db,
                    "DELETE FROM search_span WHERE kind = ? AND first = ? AND rest = ? AND "
                    "track_id = ?",
                    true) {}

  sqlite3* db;
  pid_t pid;
  sqlite::Statement read_track;
  sqlite::Statement read_indexed;
  sqlite::Statement insert_indexed;
  sqlite::Statement delete_indexed;
  sqlite::Statement read_posting;
  sqlite::Statement write_posting;
  sqlite::Statement delete_posting;
  sqlite::Statement insert_span;
  sqlite::Statement delete_span;
};

// One cached writer per thread, for the connection used last. Switching connections finalizes
// the old statements, which also lets a connection that was closed meanwhile (sqlite3_close_v2
// keeps it until its statements are gone) really close.
Writer& WriterFor(sqlite3* db) {
  thread_local std::unique_ptr<Writer> writer;
  if (writer != nullptr && (writer->db != db || writer->pid != getpid())) {
    // Statements inherited over fork belong to the parent's connection: leave them alone.
    if (writer->pid != getpid()) (void)writer.release();
    writer.reset();
  }
  if (writer == nullptr) {
    ExecSchema(db);  // databases made before the index existed get its tables here
    writer = std::make_unique<Writer>(db);
  }
  return *writer;
}

// The batch of this thread, if any (see SearchIndexBatch).
thread_local SearchIndexBatch* active_batch = nullptr;

// The bits of (kind, token, chunk) as stored, all zero when there is no row.
ChunkBits ReadPosting(Writer& w, int kind, const std::string& token, int64_t chunk) {
  ChunkBits bits{};
  w.read_posting.BindAll(kind, token, chunk);
  if (w.read_posting.Step()) {
    sqlite3_stmt* stmt = w.read_posting.get();
    const auto* data = static_cast<const char*>(sqlite3_column_blob(stmt, 0));
    chunk_blob::Decode(std::string_view(data, static_cast<size_t>(sqlite3_column_bytes(stmt, 0))),
                       bits);
  }
  w.read_posting.Reset();
  return bits;
}

void WritePosting(Writer& w, int kind, const std::string& token, int64_t chunk,
                  const ChunkBits& bits) {
  const std::string blob = chunk_blob::Encode(bits);
  if (blob.empty()) {
    w.delete_posting.BindAll(kind, token, chunk);
    w.delete_posting.Run();
    w.delete_posting.Reset();
    return;
  }
  w.write_posting.BindAll(kind, token, chunk);
  sqlite3_bind_blob(w.write_posting.get(), 4, blob.data(), static_cast<int>(blob.size()),
                    SQLITE_TRANSIENT);
  w.write_posting.Run();
  w.write_posting.Reset();
}

void SetBit(ChunkBits& bits, int64_t track_id, bool present) {
  const unsigned offset = index::OffsetInChunk(track_id);
  const uint64_t mask = uint64_t{1} << (offset % 64);
  if (present) {
    bits[offset / 64] |= mask;
  } else {
    bits[offset / 64] &= ~mask;
  }
}

// Sets or clears one track's bit in the posting row of (kind, token): in the batch when one is
// open on this connection, else read, changed and written back at once.
void UpdatePosting(Writer& w, int kind, const std::string& token, int64_t track_id, bool present) {
  const int64_t chunk = index::ChunkOf(track_id);
  if (active_batch != nullptr && active_batch->db() == w.db) {
    auto& dirty = active_batch->dirty();
    SearchIndexBatch::Key key(kind, token, chunk);
    auto it = dirty.find(key);
    if (it == dirty.end()) {
      it = dirty.emplace(std::move(key), ReadPosting(w, kind, token, chunk)).first;
    }
    SetBit(it->second, track_id, present);
    return;
  }
  ChunkBits bits = ReadPosting(w, kind, token, chunk);
  SetBit(bits, track_id, present);
  WritePosting(w, kind, token, chunk, bits);
}

// Adds (or removes) the postings and span rows of one kind's tokens.
void UpdateKind(Writer& w, index::Kind kind, const std::vector<std::string>& tokens,
                int64_t track_id, bool present) {
  for (const std::string& token : std::set<std::string>(tokens.begin(), tokens.end())) {
    UpdatePosting(w, kind, token, track_id, present);
  }
  for (const index::SpanRow& row : index::BuildSpanRows(tokens)) {
    if (present) {
      w.insert_span.BindAll(static_cast<int>(kind), row.first, row.rest, track_id);
      sqlite3_bind_blob(w.insert_span.get(), 5, row.bounds.data(),
                        static_cast<int>(row.bounds.size()), SQLITE_TRANSIENT);
      w.insert_span.Run();
      w.insert_span.Reset();
    } else {
      w.delete_span.BindAll(static_cast<int>(kind), row.first, row.rest, track_id);
      w.delete_span.Run();
      w.delete_span.Reset();
    }
  }
}

// Removes everything indexed for `track_id`; false when it was not indexed.
bool RemoveEntries(Writer& w, int64_t track_id) {
  w.read_indexed.Bind(1, track_id);
  if (!w.read_indexed.Step()) {
    w.read_indexed.Reset();
    return false;
  }
  const int64_t library_id = w.read_indexed.ColumnInt64(0);
  std::array<std::vector<std::string>, 3> tokens;
  for (size_t i = 0; i < tokens.size(); ++i) {
    tokens[i] = index::LoadTokens(w.read_indexed.ColumnText(static_cast<int>(i) + 1));
  }
  w.read_indexed.Reset();
  for (size_t i = 0; i < kTagKinds.size(); ++i) {
    UpdateKind(w, kTagKinds[i], tokens[i], track_id, false);
  }
  UpdatePosting(w, index::kLibrary, std::to_string(library_id), track_id, false);
  w.delete_indexed.Bind(1, track_id);
  w.delete_indexed.Run();
  w.delete_indexed.Reset();
  return true;
}

}  // namespace

void CreateSearchIndexSchema(sqlite3* db) { ExecSchema(db); }

void IndexTrack(sqlite3* db, int64_t track_id, const std::string& title, const std::string& album,
                const std::string& artist) {
  Writer& w = WriterFor(db);
  w.read_track.Bind(1, track_id);
  if (!w.read_track.Step()) {
    w.read_track.Reset();
    throw std::runtime_error("cannot index track " + std::to_string(track_id) +
                             ": it is not in the tracks table");
  }
  const int64_t library_id = w.read_track.ColumnInt64(0);
  const int64_t disc = w.read_track.ColumnInt64(1);
  const int64_t track_number = w.read_track.ColumnInt64(2);
  w.read_track.Reset();
  RemoveEntries(w, track_id);

  const std::array<std::vector<std::string>, 3> tokens = {VoiceFold(album), VoiceFold(artist),
                                                          VoiceFold(title)};
  w.insert_indexed.BindAll(track_id, library_id, index::StoreTokens(tokens[0]),
                           index::StoreTokens(tokens[1]), index::StoreTokens(tokens[2]), album,
                           disc, track_number);
  w.insert_indexed.Run();
  w.insert_indexed.Reset();
  UpdatePosting(w, index::kLibrary, std::to_string(library_id), track_id, true);
  for (size_t i = 0; i < kTagKinds.size(); ++i) {
    UpdateKind(w, kTagKinds[i], tokens[i], track_id, true);
  }
}

void UnindexTrack(sqlite3* db, int64_t track_id) { RemoveEntries(WriterFor(db), track_id); }

SearchIndexBatch::SearchIndexBatch(sqlite3* db) : db_(db), outer_(active_batch) {
  for (const SearchIndexBatch* open = outer_; open != nullptr; open = open->outer_) {
    if (open->db_ == db)
      throw std::logic_error("a search index batch is already open on this connection");
  }
  active_batch = this;
}

SearchIndexBatch::~SearchIndexBatch() { active_batch = outer_; }

void SearchIndexBatch::Flush() {
  if (dirty_.empty()) return;
  Writer& w = WriterFor(db_);
  // Rows are written in key order, which is the table's order: appends to the same B-tree pages.
  for (auto it = dirty_.begin(); it != dirty_.end();) {
    const auto& [kind, token, chunk] = it->first;
    WritePosting(w, kind, token, chunk, it->second);
    it = dirty_.erase(it);  // written rows leave, so a retry after a failure writes only the rest
  }
}

}  // namespace Sonvik::search
