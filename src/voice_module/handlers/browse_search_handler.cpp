#include "voice_module/handlers/browse_search_handler.h"

#include <json/value.h>
#include <syslog.h>

#include <cstdint>
#include <string>
#include <unordered_map>

#include "host/api/api_request.h"
#include "host/api/api_response.h"
#include "voice_module/module/handlers.h"

namespace Sonvik {
namespace {

constexpr const char* kUnit = "browse_handler";
// The log lines of this unit carry fixed line numbers that operators grep for.
constexpr int kSearchFailedLine = 80;
constexpr int kCountFailedLine = 95;

constexpr int kErrorBadRequest = 101;
constexpr int kErrorFallback = 100;

std::string OptionalText(QUOR::APIRequest* request, const char* name, const char* fallback) {
  QUOR::APIParameter<std::string> parameter =
      request->GetAndCheckString(name, QUOR::PARAM_OPTIONAL, nullptr);
  parameter.SetDefault(fallback);
  return parameter.Get();
}

}  // namespace

SearchHandler::SearchHandler(QUOR::APIRequest* request, QUOR::APIResponse* response)
    : BaseHandler(request, response),
      db_manager_(request->GetLoginUID()),
      search_policy_(search::Alexa) {}

bool SearchHandler::Search(const search::ListSetting& setting) {
  search_policy_.ExtendSearchKeyword();
  // An attempt whose page is empty counts as finding nothing, so paging past the matches of a
  // narrow attempt falls through to a broader one.
  while (db_manager_.results.empty() &&
         search_policy_.keyword_index() < search_policy_.extended_keywords().size()) {
    db_manager_.Init();
    search::SearchDBHelper& helper = db_manager_.helper();
    helper.GetEditableSearchTypeInfo<search::SearchAlbum>().fill = true;
    helper.GetEditableSearchTypeInfo<search::SearchArtist>().fill = true;
    helper.GetEditableSearchTypeInfo<search::SearchTitle>().fill = true;
    search_policy_.SetSearchKeywordToDBManager(db_manager_);
    if (db_manager_.GetTrackByCondition(setting) == 0) {
      syslog(LOG_ERR, "%s:%d Failed to get track by condition.. error %d", kUnit, kSearchFailedLine,
             static_cast<int>(db_manager_.error));
      return false;
    }
  }
  return true;
}

bool SearchHandler::Count() {
  search_policy_.ExtendSearchKeyword();
  while (db_manager_.count == 0 &&
         search_policy_.keyword_index() < search_policy_.extended_keywords().size()) {
    db_manager_.Init();
    search_policy_.SetSearchKeywordToDBManager(db_manager_);
    if (db_manager_.CountTrackByCondition() == 0) {
      syslog(LOG_ERR, "%s:%d Failed to count track by condition.. error %d", kUnit,
             kCountFailedLine, static_cast<int>(db_manager_.error));
      return false;
    }
  }
  return true;
}

bool SetSearchHandler(QUOR::APIRequest* request, SearchHandler& handler) {
  const std::string title = OptionalText(request, "title", "");
  const std::string album = OptionalText(request, "album", "");
  const std::string artist = OptionalText(request, "artist", "");
  if (title.empty() && album.empty() && artist.empty()) return false;
  handler.SetSearchKeyword<search::SearchTitle>(title);
  handler.SetSearchKeyword<search::SearchAlbum>(album);
  handler.SetSearchKeyword<search::SearchArtist>(artist);
  return true;
}

int SearchErrorToWebapiError(search::SearchError error) {
  // Values 1 to 3 are the engine's own trouble and read as a plain failure; 0 means the engine
  // recorded no reason, which is passed on as it is.
  static constexpr int kCodes[] = {0, kErrorFallback, kErrorFallback, kErrorFallback,
                                   kErrorBadRequest};
  const auto index = static_cast<uint32_t>(error);
  if (index > 4) return kErrorFallback;
  return kCodes[index];
}

search::SortBy SortByStringToSortBy(const std::string& text) {
  // Built once per process, on first use; the guard of a function-local static makes that safe.
  static const std::unordered_map<std::string, search::SortBy> kTable = {
      {"track_id", search::SORT_BY_TRACK_ID},
      {"album", search::SORT_BY_ALBUM},
  };
  const auto it = kTable.find(text);
  return it == kTable.end() ? search::SORT_BY_NONE : it->second;
}

void SearchAudio(QUOR::APIRequest* request, QUOR::APIResponse* response) {
  SearchHandler handler(request, response);
  if (!SetSearchHandler(request, handler)) {
    response->SetError(kErrorBadRequest, Json::Value());
    return;
  }
  const search::SortBy sort_by = SortByStringToSortBy(OptionalText(request, "sort_by", "track_id"));
  if (sort_by == search::SORT_BY_NONE) {
    response->SetError(kErrorBadRequest, Json::Value());
    return;
  }
  search::ListSetting setting;
  setting.offset = request->GetAndCheckInt("offset", QUOR::PARAM_REQUIRED, nullptr).Get();
  setting.limit = request->GetAndCheckInt("limit", QUOR::PARAM_REQUIRED, nullptr).Get();
  setting.sort_by = sort_by;
  if (!handler.Search(setting)) {
    response->SetError(SearchErrorToWebapiError(handler.db_manager().error), Json::Value());
    return;
  }
  Json::Value tracks(Json::arrayValue);
  for (const search::SearchResult& result : handler.db_manager().results) {
    tracks.append(result.AsJson());
  }
  Json::Value data(Json::objectValue);
  data["track"] = tracks;
  response->SetSuccess(data);
}

void CountSearchAudio(QUOR::APIRequest* request, QUOR::APIResponse* response) {
  SearchHandler handler(request, response);
  if (!SetSearchHandler(request, handler)) {
    response->SetError(kErrorBadRequest, Json::Value());
    return;
  }
  if (!handler.Count()) {
    response->SetError(SearchErrorToWebapiError(handler.db_manager().error), Json::Value());
    return;
  }
  Json::Value data(Json::objectValue);
  data["count"] = handler.db_manager().count;
  response->SetSuccess(data);
}

}  // namespace Sonvik
