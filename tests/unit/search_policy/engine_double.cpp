#include "engine_double.h"

namespace Sonvik::testing {

EngineDouble& Engine() {
  static EngineDouble engine;
  return engine;
}

void ResetEngineDouble() { Engine() = EngineDouble(); }

namespace {

Query Record(const search::SearchDBManager& manager, Query::Kind kind) {
  Query query{kind, {}, {}, false, false, false};
  for (const search::AllSearchItem& item : manager.conditions) {
    query.conditions.push_back({item.album, item.artist, item.title});
  }
  return query;
}

ScriptedAnswer NextAnswer() {
  auto& script = Engine().script;
  if (script.empty()) return {};
  ScriptedAnswer answer = script.front();
  script.pop_front();
  return answer;
}

}  // namespace
}  // namespace Sonvik::testing

// The engine's members, defined here so that they win over the package library's at link time.
namespace Sonvik::search {

using testing::Engine;

SearchDBManager::SearchDBManager(unsigned uid) : uid_(uid) {
  Engine().uid = uid;
  ++Engine().constructed;
}
SearchDBManager::~SearchDBManager() = default;

void SearchDBManager::Init() {
  conditions.clear();
  results.clear();
  count = 0;
  error = SEARCH_ERROR_NONE;
  helper_ = SearchDBHelper();
}

int SearchDBManager::GetTrackByCondition(const ListSetting& setting) {
  testing::Query query = testing::Record(*this, testing::Query::Kind::kSearch);
  query.setting = setting;
  query.fill_album = helper_.GetSearchTypeInfo<SearchAlbum>().fill;
  query.fill_artist = helper_.GetSearchTypeInfo<SearchArtist>().fill;
  query.fill_title = helper_.GetSearchTypeInfo<SearchTitle>().fill;
  Engine().queries.push_back(query);
  const testing::ScriptedAnswer answer = testing::NextAnswer();
  if (answer.fail) {
    error = answer.error;
    return 0;
  }
  for (int i = 1; i <= answer.tracks; ++i) {
    SearchResult result;
    result.id = i;
    result.title = "title " + std::to_string(i);
    results.push_back(result);
  }
  return 1;
}

int SearchDBManager::CountTrackByCondition() {
  const testing::Query query = testing::Record(*this, testing::Query::Kind::kCount);
  Engine().queries.push_back(query);
  const testing::ScriptedAnswer answer = testing::NextAnswer();
  if (answer.fail) {
    error = answer.error;
    return 0;
  }
  count = answer.tracks;
  return 1;
}

}  // namespace Sonvik::search
