#include "package/search/index_reader.h"

#include <string_view>

#include "package/library/user_view.h"
#include "package/search/voice_fold.h"

namespace Sonvik::search {
namespace {

std::string_view BlobColumn(sqlite3_stmt* stmt, int column) {
  const auto* data = static_cast<const char*>(sqlite3_column_blob(stmt, column));
  return {data, static_cast<size_t>(sqlite3_column_bytes(stmt, column))};
}

bool IsCharacterStart(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }

int TokensColumn(index::Kind kind) {
  switch (kind) {
    case index::kAlbum:
      return 0;
    case index::kArtist:
      return 1;
    default:
      return 2;
  }
}

}  // namespace

IndexReader::IndexReader(sqlite3* db)
    : db_(db),
      postings_(db, "SELECT chunk, ids FROM search_posting WHERE kind = ? AND token = ?", true),
      spans_(db,
             "SELECT track_id, rest, bounds FROM search_span "
             "WHERE kind = ? AND first = ? AND rest >= ? AND rest < ?",
             true),
      stored_tokens_(db,
                     "SELECT album_tokens, artist_tokens, title_tokens FROM search_track "
                     "WHERE track_id = ?",
                     true),
      last_track_(db, "SELECT max(track_id) FROM search_track", true),
      album_key_(db, "SELECT album_order, disc, track_number FROM search_track WHERE track_id = ?",
                 true),
      album_walk_(db,
                  "SELECT track_id FROM search_track "
                  "ORDER BY album_order, disc, track_number, track_id",
                  true),
      fields_(db, "SELECT title, album, artist, container, codec FROM tracks WHERE id = ?", true) {}

void IndexReader::ResetStatements() {
  for (sqlite::Statement* statement :
       {&postings_, &spans_, &stored_tokens_, &last_track_, &album_key_, &album_walk_, &fields_}) {
    statement->Reset();
  }
}

TrackSet IndexReader::Match(index::Kind kind, const std::string& joined) {
  TrackSet set;
  if (joined.empty()) return set;
  // One tag token equal to the keyword: whole posting chunks.
  postings_.BindAll(static_cast<int>(kind), joined);
  while (postings_.Step()) {
    set.AddChunkBlob(postings_.ColumnInt64(0), BlobColumn(postings_.get(), 1));
  }
  postings_.Reset();

  // Several tag tokens: the first is a proper prefix of the keyword and the rest of the keyword
  // starts the following tokens, ending on a token boundary. One index range per split point.
  std::vector<int64_t> to_verify;
  for (size_t split = 1; split < joined.size(); ++split) {
    if (!IsCharacterStart(joined[split])) continue;
    const std::string_view first(joined.data(), split);
    const std::string_view remainder(joined.data() + split, joined.size() - split);
    const std::string_view key = index::CutToRest(remainder);
    std::string upper(key);
    upper += '\xff';  // above every continuation of `key` in valid UTF-8
    spans_.BindAll(static_cast<int>(kind), first, key, upper);
    while (spans_.Step()) {
      const int64_t track_id = spans_.ColumnInt64(0);
      if (set.Contains(track_id)) continue;
      const std::string_view rest = spans_.ColumnText(1);
      std::string_view bounds = BlobColumn(spans_.get(), 2);
      const bool cut = !bounds.empty() && bounds.back() == '\0';
      if (cut) bounds.remove_suffix(1);
      if (remainder.size() <= rest.size()) {
        // `rest` starts with the whole remainder; it must end where a token ends.
        if (bounds.find(static_cast<char>(remainder.size())) != std::string_view::npos) {
          set.Add(track_id);
        }
      } else if (cut) {
        to_verify.push_back(track_id);
      }
    }
    spans_.Reset();
  }
  for (int64_t track_id : to_verify) {
    if (!set.Contains(track_id) && MatchesStoredTag(kind, joined, track_id)) set.Add(track_id);
  }
  return set;
}

bool IndexReader::MatchesStoredTag(index::Kind kind, const std::string& joined, int64_t track_id) {
  stored_tokens_.Bind(1, track_id);
  bool matches = false;
  if (stored_tokens_.Step()) {
    matches =
        MatchesFoldedTag(joined, index::LoadTokens(stored_tokens_.ColumnText(TokensColumn(kind))));
  }
  stored_tokens_.Reset();
  return matches;
}

TrackSet IndexReader::HiddenFrom(unsigned uid) {
  // The user's view is the library's own rule, so the set of hidden folders is its negation.
  sqlite::Statement hidden(
      db_, "SELECT id FROM libraries WHERE NOT " + library::UserViewCondition(uid, "id"));
  TrackSet set;
  while (hidden.Step()) {
    postings_.BindAll(static_cast<int>(index::kLibrary), std::to_string(hidden.ColumnInt64(0)));
    while (postings_.Step()) {
      set.AddChunkBlob(postings_.ColumnInt64(0), BlobColumn(postings_.get(), 1));
    }
    postings_.Reset();
  }
  return set;
}

int64_t IndexReader::LastTrackId() {
  int64_t last = 0;
  if (last_track_.Step()) last = last_track_.ColumnInt64(0);
  last_track_.Reset();
  return last;
}

AlbumOrderKey IndexReader::AlbumKeyOf(int64_t track_id) {
  AlbumOrderKey key;
  key.track_id = track_id;
  album_key_.Bind(1, track_id);
  if (album_key_.Step()) {
    key.album = album_key_.ColumnText(0);
    key.disc = album_key_.ColumnInt64(1);
    key.track_number = album_key_.ColumnInt64(2);
  }
  album_key_.Reset();
  return key;
}

void IndexReader::WalkAlbumOrder(const std::function<bool(int64_t)>& visit) {
  while (album_walk_.Step()) {
    if (!visit(album_walk_.ColumnInt64(0))) break;
  }
  album_walk_.Reset();
}

bool IndexReader::ReadFields(int64_t track_id, TrackFields* fields) {
  fields_.Bind(1, track_id);
  const bool found = fields_.Step();
  if (found) {
    fields->title = fields_.ColumnText(0);
    fields->album = fields_.ColumnText(1);
    fields->artist = fields_.ColumnText(2);
    fields->container = fields_.ColumnText(3);
    fields->codec = fields_.ColumnText(4);
  }
  fields_.Reset();
  return found;
}

}  // namespace Sonvik::search
