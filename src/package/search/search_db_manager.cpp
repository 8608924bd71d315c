// The track search engine.
//
// Matching rule (voice_fold.h): a keyword matches a tag when the keyword's folded tokens, written
// together, equal the tag's folded tokens from one token boundary to a later one. The index in
// the library database answers that without reading the tracks (search_index.cpp writes it):
//
// - search_posting (kind, token, chunk) -> ids: for every folded tag token, the tracks that have
//   it, as bitmaps of 4096 ids per row (short arrays for rare tokens). A keyword equal to one tag
//   token is answered by reading its chunks: even the commonest word of a million tracks is a few
//   hundred rows of at most 512 bytes, so one-word searches and counts stay cheap.
// - search_span (kind, first, rest, track_id) -> bounds: for every tag token followed by others,
//   the token and the following tokens written together (cut to 24 bytes), with the offsets where
//   those tokens end. A keyword spelled over several tag tokens ("hey jude" = "heyjude",
//   "acdc" = "ac" + "dc") starts with a whole first token: for each split point of the keyword
//   one index range (first = head, rest starts with tail) yields the candidates, and the stored
//   offsets say whether the tail ends on a token boundary. Only a tail longer than 24 bytes is
//   checked against the folded tag kept in search_track.
//
// A query builds one in-memory TrackSet per condition (the kinds of a condition intersected,
// the conditions of an attempt united), takes away the libraries outside the user's view, and
// then pages: by id straight from the bitmaps; by album either by sorting the few matches' album
// keys or, when matches are dense, by walking the album-order index and stopping as soon as the
// page is full, whichever the estimate says is cheaper. Counting is a popcount. Only the page's
// tracks are read from the tracks table.
#include "package/search/search_db_manager.h"

#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>
#include <utility>

#include "package/library/library_database.h"
#include "package/search/index_reader.h"
#include "package/search/voice_fold.h"
#include "package/sqlite/error.h"
#include "package/sqlite/transaction.h"

namespace Sonvik::search {
namespace {

constexpr const char* kUnit = "search_db_manager";

// Rough costs (microseconds) of one album key lookup and one step of the album-order walk.
constexpr double kKeyLookupCost = 2.0;
constexpr double kWalkStepCost = 0.25;

// One condition after folding: the joined keyword per kind, empty for an unrestricted kind.
struct FoldedCondition {
  std::string album;
  std::string artist;
  std::string title;
  auto operator<=>(const FoldedCondition&) const = default;
};

// Folds the conditions; drops those that cannot be searched (a named kind that folds to
// nothing, or no kind named) and repeated ones.
std::vector<FoldedCondition> FoldConditions(const std::vector<AllSearchItem>& conditions) {
  std::vector<FoldedCondition> folded;
  for (const AllSearchItem& item : conditions) {
    FoldedCondition condition;
    bool searchable = !(item.album.empty() && item.artist.empty() && item.title.empty());
    const std::pair<const std::string*, std::string*> kinds[] = {{&item.album, &condition.album},
                                                                 {&item.artist, &condition.artist},
                                                                 {&item.title, &condition.title}};
    for (const auto& [keyword, joined] : kinds) {
      if (keyword->empty()) continue;
      *joined = JoinTokens(VoiceFold(*keyword));
      if (joined->empty()) searchable = false;
    }
    if (searchable && std::find(folded.begin(), folded.end(), condition) == folded.end()) {
      folded.push_back(std::move(condition));
    }
  }
  return folded;
}

// The reader for the process's library connection, prepared once per connection.
IndexReader& ReaderFor(sqlite3* db) {
  struct Cached {
    pid_t pid = 0;
    std::unique_ptr<IndexReader> reader;
  };
  static Cached cached;
  if (cached.reader != nullptr && (cached.reader->db() != db || cached.pid != getpid())) {
    if (cached.pid != getpid()) (void)cached.reader.release();  // the parent's, over fork
    cached.reader.reset();
  }
  if (cached.reader == nullptr) {
    cached.reader = std::make_unique<IndexReader>(db);
    cached.pid = getpid();
  }
  return *cached.reader;
}

// The matches of all conditions in the user's view.
TrackSet Evaluate(IndexReader& reader, const std::vector<FoldedCondition>& conditions,
                  unsigned uid) {
  std::map<std::pair<int, std::string>, TrackSet> memo;  // repeated words repeat lookups
  auto match = [&](index::Kind kind, const std::string& joined) -> const TrackSet& {
    auto key = std::make_pair(static_cast<int>(kind), joined);
    auto it = memo.find(key);
    if (it == memo.end()) it = memo.emplace(key, reader.Match(kind, joined)).first;
    return it->second;
  };
  TrackSet all;
  for (const FoldedCondition& condition : conditions) {
    std::optional<TrackSet> both;
    const std::pair<index::Kind, const std::string*> kinds[] = {{index::kAlbum, &condition.album},
                                                                {index::kArtist, &condition.artist},
                                                                {index::kTitle, &condition.title}};
    for (const auto& [kind, joined] : kinds) {
      if (joined->empty()) continue;
      if (!both) {
        both = match(kind, *joined);
      } else {
        both->IntersectWith(match(kind, *joined));
      }
      if (both->Empty()) break;
    }
    if (both) all.UnionWith(*both);
  }
  if (!all.Empty()) all.Subtract(reader.HiddenFrom(uid));
  return all;
}

std::vector<int64_t> PageById(const TrackSet& matches, int64_t offset, int64_t limit) {
  std::vector<int64_t> page;
  int64_t skipped = 0;
  matches.ForEach([&](int64_t id) {
    if (skipped < offset) {
      ++skipped;
      return true;
    }
    page.push_back(id);
    return static_cast<int64_t>(page.size()) < limit;
  });
  return page;
}

std::vector<int64_t> PageByAlbum(IndexReader& reader, const TrackSet& matches, int64_t offset,
                                 int64_t limit) {
  const int64_t count = matches.Count();
  if (offset >= count) return {};
  const int64_t wanted = std::min(count, offset + limit);
  const double sort_cost = static_cast<double>(count) * kKeyLookupCost;
  const double walk_cost = static_cast<double>(wanted) * static_cast<double>(reader.LastTrackId()) /
                           static_cast<double>(count) * kWalkStepCost;
  std::vector<int64_t> page;
  if (sort_cost <= walk_cost) {
    std::vector<AlbumOrderKey> keys;
    keys.reserve(static_cast<size_t>(count));
    matches.ForEach([&](int64_t id) {
      keys.push_back(reader.AlbumKeyOf(id));
      return true;
    });
    std::partial_sort(keys.begin(), keys.begin() + wanted, keys.end());
    for (int64_t i = offset; i < wanted; ++i) page.push_back(keys[static_cast<size_t>(i)].track_id);
    return page;
  }
  int64_t seen = 0;
  reader.WalkAlbumOrder([&](int64_t id) {
    if (!matches.Contains(id)) return true;
    if (seen++ >= offset) page.push_back(id);
    return seen < wanted;
  });
  return page;
}

void LogFailure(int line, const char* what) { syslog(LOG_ERR, "%s:%d %s", kUnit, line, what); }

}  // namespace

SearchDBManager::SearchDBManager(unsigned uid) : uid_(uid) {}
SearchDBManager::~SearchDBManager() = default;

void SearchDBManager::Init() {
  conditions.clear();
  results.clear();
  count = 0;
  error = SEARCH_ERROR_NONE;
  helper_ = SearchDBHelper();
}

// Runs `query` (which fills the engine's answer) on the library connection inside one read
// transaction, turning every failure into `error` and a zero result.
template <typename Query>
int SearchDBManager::Run(Query query) {
  const std::vector<FoldedCondition> folded = FoldConditions(conditions);
  if (folded.empty()) {
    error = SEARCH_ERROR_BAD_CONDITION;
    return 0;
  }
  sqlite3* db = nullptr;
  try {
    db = library::ProcessLibraryDatabase().get();
  } catch (const std::exception& e) {
    LogFailure(__LINE__, e.what());
    error = SEARCH_ERROR_DATABASE;
    return 0;
  }
  try {
    sqlite::Transaction snapshot(db, sqlite::Transaction::Mode::kDeferred);
    IndexReader& reader = ReaderFor(db);
    reader.ResetStatements();
    query(reader, Evaluate(reader, folded, uid_));
    snapshot.Commit();
    return 1;
  } catch (const sqlite::Error& e) {
    LogFailure(__LINE__, e.what());
    error = SEARCH_ERROR_QUERY;
  } catch (const std::exception& e) {
    LogFailure(__LINE__, e.what());
    error = SEARCH_ERROR_INTERNAL;
  }
  return 0;
}

int SearchDBManager::GetTrackByCondition(const ListSetting& setting) {
  results.clear();
  return Run([&](IndexReader& reader, const TrackSet& matches) {
    const int64_t offset = std::max<int64_t>(0, setting.offset);
    const int64_t limit = std::max<int64_t>(0, setting.limit);
    if (limit == 0) return;
    const std::vector<int64_t> page = setting.sort_by == SORT_BY_ALBUM
                                          ? PageByAlbum(reader, matches, offset, limit)
                                          : PageById(matches, offset, limit);
    const bool fill_title = helper_.GetSearchTypeInfo<SearchTitle>().fill;
    const bool fill_album = helper_.GetSearchTypeInfo<SearchAlbum>().fill;
    const bool fill_artist = helper_.GetSearchTypeInfo<SearchArtist>().fill;
    TrackFields fields;
    for (int64_t id : page) {
      if (!reader.ReadFields(id, &fields)) continue;
      SearchResult result;
      result.id = static_cast<int32_t>(id);
      result.container = fields.container;
      result.codec = fields.codec;
      if (fill_title) result.title = fields.title;
      if (fill_album) result.album = fields.album;
      if (fill_artist) result.artist = fields.artist;
      results.push_back(std::move(result));
    }
  });
}

int SearchDBManager::CountTrackByCondition() {
  count = 0;
  return Run([&](IndexReader&, const TrackSet& matches) {
    count = static_cast<int32_t>(std::min<int64_t>(matches.Count(), INT32_MAX));
  });
}

}  // namespace Sonvik::search
