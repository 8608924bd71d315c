#include "voice_module/module/request_checks.h"

#include <json/value.h>

#include <functional>
#include <initializer_list>
#include <string>

#include "host/api/api_request.h"
#include "host/api/api_response.h"
#include "host/api/api_validator.h"
#include "host/api/web_api_util.h"

namespace Sonvik {
namespace {

using QUOR::APIParameter;
using QUOR::APIRequest;
using QUOR::APIResponse;
using QUOR::APIValidator;
using QUOR::PARAM_OPTIONAL;
using QUOR::PARAM_REQUIRED;

constexpr int kBadParameter = 120;
constexpr int kMaxPageSize = 5000;
// Read afresh each time the rule runs; the text stays exactly as the voice service documents it.
constexpr const char* kSortKeys = R"(["track_id", "album"])";

struct ParamState {
  const char* name;
  bool is_set;
  bool is_invalid;
};

template <typename T>
ParamState StateOf(const char* name, const APIParameter<T>& param) {
  return {name, param.IsSet(), param.IsInvalid()};
}

struct Rule {
  const char* name;
  std::function<bool()> holds;
};

bool Refuse(APIResponse* response, const char* name, const char* reason) {
  Json::Value data(Json::objectValue);
  data["name"] = name;
  data["reason"] = reason;
  response->SetError(kBadParameter, data);
  return false;
}

// Type pass first (missing or mistyped, in parameter order), then the condition rules in order:
// a type fault always wins, even over a condition fault of an earlier parameter.
bool RunChecks(APIResponse* response, std::initializer_list<ParamState> params,
               std::initializer_list<Rule> rules) {
  for (const auto& param : params) {
    if (param.is_invalid) return Refuse(response, param.name, param.is_set ? "type" : "required");
  }
  for (const auto& rule : rules) {
    if (!rule.holds()) return Refuse(response, rule.name, "condition");
  }
  return true;
}

APIParameter<std::string> OptionalText(APIRequest* request, const char* name,
                                       const std::string& fallback) {
  auto param = request->GetAndCheckString(name, PARAM_OPTIONAL, nullptr);
  param.SetDefault(fallback);
  return param;
}

// The paging rules shared by search, search_playlist and get_playlist.
Rule LimitRule(const APIParameter<int>& limit) {
  return {"limit",
          [&] { return limit.IsSet() && APIValidator::IsBetween(limit, 1, kMaxPageSize); }};
}
Rule OffsetRule(const APIParameter<int>& offset) {
  return {"offset", [&] { return offset.IsSet() && !APIValidator::IsLess(offset, 0); }};
}
Rule NotEmptyRule(const char* name, const APIParameter<std::string>& text) {
  return {name, [&] { return text.IsSet() && !APIValidator::IsEqual(text, std::string()); }};
}

bool CheckNamedTextAndPaging(APIRequest* request, APIResponse* response, const char* text_name) {
  auto text = request->GetAndCheckString(text_name, PARAM_REQUIRED, nullptr);
  auto limit = request->GetAndCheckInt("limit", PARAM_REQUIRED, nullptr);
  auto offset = request->GetAndCheckInt("offset", PARAM_REQUIRED, nullptr);
  return RunChecks(response,
                   {StateOf(text_name, text), StateOf("limit", limit), StateOf("offset", offset)},
                   {NotEmptyRule(text_name, text), LimitRule(limit), OffsetRule(offset)});
}

}  // namespace

bool CheckAlways(APIRequest*, APIResponse*) { return true; }

bool CheckStreamTrackId(APIRequest* request, APIResponse* response) {
  auto track_id = request->GetAndCheckInt("track_id", PARAM_REQUIRED, nullptr);
  return RunChecks(
      response, {StateOf("track_id", track_id)},
      {{"track_id", [&] { return track_id.IsSet() && !APIValidator::IsLess(track_id, 1); }}});
}

bool CheckCoverTrackId(APIRequest* request, APIResponse* response) {
  auto track_id = request->GetAndCheckInt("track_id", PARAM_REQUIRED, nullptr);
  return RunChecks(
      response, {StateOf("track_id", track_id)},
      {{"track_id", [&] { return track_id.IsSet() && APIValidator::IsGreater(track_id, 0); }}});
}

bool CheckCountSearch(APIRequest* request, APIResponse* response) {
  auto album = OptionalText(request, "album", "");
  auto artist = OptionalText(request, "artist", "");
  auto title = OptionalText(request, "title", "");
  return RunChecks(
      response, {StateOf("album", album), StateOf("artist", artist), StateOf("title", title)}, {});
}

bool CheckSearch(APIRequest* request, APIResponse* response) {
  auto album = OptionalText(request, "album", "");
  auto artist = OptionalText(request, "artist", "");
  auto title = OptionalText(request, "title", "");
  auto limit = request->GetAndCheckInt("limit", PARAM_REQUIRED, nullptr);
  auto offset = request->GetAndCheckInt("offset", PARAM_REQUIRED, nullptr);
  auto sort_by = OptionalText(request, "sort_by", "track_id");
  return RunChecks(
      response,
      {StateOf("album", album), StateOf("artist", artist), StateOf("title", title),
       StateOf("limit", limit), StateOf("offset", offset), StateOf("sort_by", sort_by)},
      {LimitRule(limit), OffsetRule(offset), {"sort_by", [&] {
                                                return !sort_by.IsSet() ||
                                                       APIValidator::IsBelong(
                                                           sort_by,
                                                           QUOR::WebAPIUtil::ParseJson(kSortKeys));
                                              }}});
}

bool CheckSearchPlaylist(APIRequest* request, APIResponse* response) {
  return CheckNamedTextAndPaging(request, response, "keyword");
}

bool CheckGetPlaylist(APIRequest* request, APIResponse* response) {
  return CheckNamedTextAndPaging(request, response, "playlist_id");
}

}  // namespace Sonvik
