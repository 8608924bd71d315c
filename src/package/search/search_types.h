#pragma once
// The vocabulary of track searching shared by the engine, the voice module and the playlists.
#include <json/value.h>

#include <cstdint>
#include <string>

namespace Sonvik::search {

enum SortBy : int32_t {
  SORT_BY_NONE = 0,
  SORT_BY_TRACK_ID = 1,
  SORT_BY_ALBUM = 2,
};

struct ListSetting {
  int32_t offset = 0;
  int32_t limit = 0;
  SortBy sort_by = SORT_BY_NONE;
};

// Why the engine failed. 1 to 3 are the engine's own failures; 4 means the conditions cannot be
// searched (a keyword that folds to nothing, for example).
enum SearchError : int32_t {
  SEARCH_ERROR_NONE = 0,
  SEARCH_ERROR_DATABASE = 1,
  SEARCH_ERROR_QUERY = 2,
  SEARCH_ERROR_INTERNAL = 3,
  SEARCH_ERROR_BAD_CONDITION = 4,
};

struct SearchResult {
  int32_t id = 0;
  std::string title;
  std::string container;
  std::string codec;
  std::string album;
  std::string artist;

  // {"id": <integer>, "title", "album", "artist", "container", "codec"}
  Json::Value AsJson() const;
};

}  // namespace Sonvik::search
