#pragma once
// A link-time stand-in for the track search engine: it records the conditions of every query and
// answers from a script, so the handler's attempt loop can be watched query by query.
#include <deque>
#include <string>
#include <vector>

#include "package/search/search_db_manager.h"

namespace Sonvik::testing {

// One condition as the engine received it: album, artist, title.
struct Condition {
  std::string album;
  std::string artist;
  std::string title;
  bool operator==(const Condition&) const = default;
};

struct Query {
  enum class Kind { kSearch, kCount } kind;
  std::vector<Condition> conditions;
  search::ListSetting setting;  // search only
  bool fill_album = false;
  bool fill_artist = false;
  bool fill_title = false;
};

// What the next query answers. Queries beyond the script find nothing.
struct ScriptedAnswer {
  int tracks = 0;  // search: that many results (ids 1..n); count: the count
  bool fail = false;
  search::SearchError error = search::SEARCH_ERROR_NONE;
};

struct EngineDouble {
  unsigned uid = 0;
  int constructed = 0;
  std::vector<Query> queries;
  std::deque<ScriptedAnswer> script;
};

// The double's state, reset by ResetEngineDouble.
EngineDouble& Engine();
void ResetEngineDouble();

}  // namespace Sonvik::testing
