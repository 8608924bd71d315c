#pragma once
// Read side of the voice-matching index: the track sets of folded keywords, the tracks hidden
// from a user, and what sorting by album and answering need. All calls throw sqlite::Error.
#include <sqlite3.h>

#include <cstdint>
#include <functional>
#include <string>

#include "package/search/index_layout.h"
#include "package/search/track_set.h"
#include "package/sqlite/statement.h"

namespace Sonvik::search {

struct AlbumOrderKey {
  std::string album;
  int64_t disc = 0;
  int64_t track_number = 0;
  int64_t track_id = 0;
  auto operator<=>(const AlbumOrderKey&) const = default;
};

struct TrackFields {
  std::string title;
  std::string album;
  std::string artist;
  std::string container;
  std::string codec;
};

class IndexReader {
 public:
  // `db` must outlive the reader. Prepares its statements once.
  explicit IndexReader(sqlite3* db);

  sqlite3* db() const { return db_; }
  // Makes every statement ready again, also after a query that was abandoned by an exception.
  void ResetStatements();

  // The tracks whose `kind` tag matches `joined` (a folded keyword written together): a tag token
  // equal to it, or a run of tag tokens that spells it.
  TrackSet Match(index::Kind kind, const std::string& joined);

  // The tracks of every library outside user `uid`'s view.
  TrackSet HiddenFrom(unsigned uid);

  // The highest indexed track id (0 when empty): the size of the id space that album walks cover.
  int64_t LastTrackId();

  AlbumOrderKey AlbumKeyOf(int64_t track_id);
  // Calls visit(track_id) in album order (album, disc, track number, id) until it returns false.
  void WalkAlbumOrder(const std::function<bool(int64_t)>& visit);

  // The track's fields from the tracks table; false when the track is gone.
  bool ReadFields(int64_t track_id, TrackFields* fields);

 private:
  // Multi-token matches whose keyword is longer than a stored rest: checked on the whole tag.
  bool MatchesStoredTag(index::Kind kind, const std::string& joined, int64_t track_id);

  sqlite3* db_;
  sqlite::Statement postings_;
  sqlite::Statement spans_;
  sqlite::Statement stored_tokens_;
  sqlite::Statement last_track_;
  sqlite::Statement album_key_;
  sqlite::Statement album_walk_;
  sqlite::Statement fields_;
};

}  // namespace Sonvik::search
