#include "voice_module/handlers/browse_playlist_handler.h"

#include <json/value.h>
#include <syslog.h>

#include <cstdio>
#include <cstdlib>

#include "host/api/api_request.h"
#include "host/api/api_response.h"
#include "package/library/personal_library.h"
#include "package/util/key_value_file.h"
#include "voice_module/handlers/browse_search_handler.h"
#include "voice_module/module/handlers.h"
#include "voice_module/module/run_as_guard.h"
#include "voice_module/search/search_policy.h"

namespace Sonvik {
namespace {

constexpr const char* kUnit = "browse_handler";
// The log lines of this unit carry fixed line numbers that operators grep for.
constexpr int kParseIdFailedLine = 173;
constexpr int kGetByIdFailedLine = 179;
constexpr int kPreferenceListFailedLine = 195;
constexpr int kDatabaseListFailedLine = 202;
constexpr int kSmartListRunAsLine = 241;
constexpr int kSmartListRootFailedLine = 251;
constexpr int kTracksRunAsLine = 295;
constexpr int kSmartTracksFailedLine = 301;
constexpr int kNormalTracksFailedLine = 308;
constexpr int kTracksRootFailedLine = 315;

constexpr const char* kPersonalSmartFile = "playlists/smart.playlist";

using webapi::playlist::PlaylistLibrary;

// A member of a JSON object, or null when `value` is no object: track objects come from the
// library and are read defensively, because nothing may throw out of a handler.
const Json::Value& Member(const Json::Value& value, const char* key) {
  static const Json::Value kNull;
  if (!value.isObject()) return kNull;
  const Json::Value* member = value.find(key, key + std::char_traits<char>::length(key));
  return member != nullptr ? *member : kNull;
}

std::string Text(const Json::Value& value) { return value.isString() ? value.asString() : ""; }

std::string NumberText(unsigned long number) {
  char text[24];
  std::snprintf(text, sizeof(text), "%lu", number);
  return text;
}

bool ContainsKeyword(const std::string& name, const std::string& keyword) {
  return ToUpper(name).find(keyword) != std::string::npos;
}

}  // namespace

SearchPlaylistHandler::SearchPlaylistHandler(QUOR::APIRequest* request, QUOR::APIResponse* response)
    : BaseHandler(request, response),
      login_uid_(request->GetLoginUID()),
      user_name_(request->GetLoginUserName()),
      preference_dir_(request->GetPreferenceDir()),
      library_(request) {}

void SearchPlaylistHandler::SetSearchKeyword(const std::string& keyword) {
  keyword_ = ToUpper(keyword);
}

void SearchPlaylistHandler::ClearPreviousResult() {
  tracks_.clear();
  playlist_ = PlaylistResult();
  total_ = 0;
  error_ = search::SEARCH_ERROR_NONE;
  candidates_.clear();
}

bool SearchPlaylistHandler::Search(const search::ListSetting& setting) {
  ClearPreviousResult();
  offset_ = setting.offset;
  limit_ = setting.limit;
  // The caller's own playlists before the shared ones, normal before smart; an exact match in
  // any source beats every partial match.
  if (!SearchNormalPlaylist(true)) return false;
  if (!playlist_.GetId().empty()) return true;
  if (!SearchSmartPlaylist(true)) return false;
  if (!playlist_.GetId().empty()) return true;
  if (!SearchNormalPlaylist(false)) return false;
  if (!playlist_.GetId().empty()) return true;
  if (!SearchSmartPlaylist(false)) return false;
  if (!playlist_.GetId().empty()) return true;
  return SearchPartialMatch();
}

bool SearchPlaylistHandler::SearchByPlaylistId(int32_t offset, int32_t limit,
                                               const std::string& playlist_id) {
  ClearPreviousResult();
  offset_ = offset;
  limit_ = limit;
  const PlaylistResult playlist(playlist_id);
  if (playlist.GetId().empty()) {
    syslog(LOG_ERR, "%s:%d Failed to parse the playlist id %s", kUnit, kParseIdFailedLine,
           playlist_id.c_str());
    error_ = search::SEARCH_ERROR_BAD_CONDITION;
    return false;
  }
  if (!SaveResult(playlist)) {
    syslog(LOG_ERR, "%s:%d Failed to get playlist by id %s", kUnit, kGetByIdFailedLine,
           playlist_id.c_str());
    error_ = search::SEARCH_ERROR_BAD_CONDITION;
    return false;
  }
  return true;
}

bool SearchPlaylistHandler::SearchNormalPlaylist(bool personal) {
  PlaylistListRecord* list = nullptr;
  const bool from_preference_dir = personal && IsPersonalLibEnabled(user_name_) == 0;
  int listed;
  if (!personal) {
    listed = QUORPlaylistListAll("shared", 0, &list, 0, 0, 0);
  } else if (!from_preference_dir) {
    listed = QUORPlaylistListAll("personal", login_uid_, &list, 0, 0, 0);
  } else {
    listed = QUORPersonalPlaylistListAll(preference_dir_.c_str(), &list, 0, 0);
  }
  if (listed < 0) {
    if (from_preference_dir) {
      syslog(LOG_ERR, "%s:%d Failed to get personal normal playlist, personal library is disabled",
             kUnit, kPreferenceListFailedLine);
    } else {
      // The shared list fails with this text too.
      syslog(LOG_ERR, "%s:%d Failed to get normal playlist, personal library is enabled", kUnit,
             kDatabaseListFailedLine);
    }
    if (list != nullptr) QUORPlayListFree(list);
    error_ = search::SEARCH_ERROR_INTERNAL;
    return false;
  }

  for (const PlaylistListRecord* record = list; record != nullptr; record = record->next) {
    const std::string name = record->name;
    const std::string number = NumberText(record->id);
    if (ToUpper(name) == keyword_) {
      // Playlists of the preference folder are keyed by their name when found exactly.
      const PlaylistResult found(name, from_preference_dir ? name : number, personal);
      // On failure the list is deliberately not released here.
      if (!SaveResult(found)) return false;
      if (!playlist_.GetId().empty()) {
        QUORPlayListFree(list);
        return true;
      }
    }
    // Candidates are always keyed by number, also those of the preference folder.
    candidates_.emplace_back(name, number, personal);
  }
  if (list != nullptr) QUORPlayListFree(list);
  return true;
}

bool SearchPlaylistHandler::SearchSmartPlaylist(bool personal) {
  int count = 0;
  std::vector<std::string> names;
  if (!personal) {
    names = QuorAudioUtils::SmartPLSEnum(0, 0, count, nullptr);
  } else {
    const std::string path = preference_dir_ + "/" + kPersonalSmartFile;
    RunAsGuard guard(0, 0, kUnit, kSmartListRunAsLine);
    if (!guard.switched) {
      syslog(LOG_ERR, "%s:%d Failed to run as root.", kUnit, kSmartListRootFailedLine);
      return false;
    }
    if (QLIBCFileExist(path.c_str()) == 0) return true;
    names = QuorAudioUtils::SmartPLSEnum(0, 0, count, path.c_str());
  }

  for (const std::string& name : names) {
    if (ToUpper(name) == keyword_) {
      if (!SaveResult(PlaylistResult(name, personal))) return false;
      if (!playlist_.GetId().empty()) return true;
    }
    candidates_.emplace_back(name, personal);
  }
  return true;
}

bool SearchPlaylistHandler::SearchPartialMatch() {
  for (const PlaylistResult& candidate : candidates_) {
    if (!ContainsKeyword(candidate.name, keyword_)) continue;
    if (!SaveResult(candidate)) return false;
    if (!playlist_.GetId().empty()) return true;
  }
  return true;
}

bool SearchPlaylistHandler::SaveResult(const PlaylistResult& playlist) {
  Json::Value track_objects(Json::arrayValue);
  library_.SetAdditionalSongTag(true);
  library_.SetAdditionalSongAudio(true);
  int count;
  {
    RunAsGuard guard(0, 0, kUnit, kTracksRunAsLine);
    if (!guard.switched) {
      syslog(LOG_ERR, "%s:%d Failed to run as root.", kUnit, kTracksRootFailedLine);
      return false;
    }
    const auto type = playlist.is_personal ? PLAYLIST_PERSONAL : PLAYLIST_SHARED;
    if (!playlist.is_smart) {
      count =
          library_.GetTrackFromNormalPlaylist(playlist.id, type, offset_, limit_, track_objects);
    } else {
      count = library_.GetTrackFromSmartPlaylist(playlist.name, type, "all", offset_, limit_,
                                                 track_objects);
    }
    if (count < 0) {
      syslog(LOG_ERR, "%s:%d Failed to get track by playlist_id %s", kUnit,
             playlist.is_smart ? kSmartTracksFailedLine : kNormalTracksFailedLine,
             playlist.GetId().c_str());
      return false;
    }
  }

  playlist_ = playlist;
  for (const Json::Value& track : track_objects) {
    const Json::Value& additional = Member(track, "additional");
    const Json::Value& audio = Member(additional, "song_audio");
    const Json::Value& tag = Member(additional, "song_tag");
    // Tracks the voice service could not play are left out without a word.
    std::string container = Text(Member(audio, "container"));
    if (container.empty()) continue;
    std::string codec = Text(Member(audio, "codec"));
    if (codec.empty()) continue;
    std::string number;
    if (QUORAudioWebapiUtilsParseSongId(Text(Member(track, "id")), &number) != 0) continue;
    search::SearchResult result;
    result.id = static_cast<int32_t>(std::strtol(number.c_str(), nullptr, 10));
    result.title = Text(Member(track, "title"));
    result.container = std::move(container);
    result.codec = std::move(codec);
    result.album = Text(Member(tag, "album"));
    result.artist = Text(Member(tag, "artist"));
    tracks_.push_back(std::move(result));
  }
  total_ = count;
  return true;
}

namespace {

Json::Value TrackArray(const std::vector<search::SearchResult>& tracks) {
  Json::Value array(Json::arrayValue);
  for (const auto& track : tracks) array.append(track.AsJson());
  return array;
}

int RequiredInt(QUOR::APIRequest* request, const char* name) {
  return request->GetAndCheckInt(name, QUOR::PARAM_REQUIRED, nullptr).Get();
}

std::string RequiredText(QUOR::APIRequest* request, const char* name) {
  return request->GetAndCheckString(name, QUOR::PARAM_REQUIRED, nullptr).Get();
}

}  // namespace

void SearchAudioByPlaylistName(QUOR::APIRequest* request, QUOR::APIResponse* response) {
  const std::string keyword = RequiredText(request, "keyword");
  SearchPlaylistHandler handler(request, response);
  handler.SetSearchKeyword(keyword);
  search::ListSetting setting;
  setting.offset = RequiredInt(request, "offset");
  setting.limit = RequiredInt(request, "limit");
  setting.sort_by = search::SORT_BY_NONE;
  if (!handler.Search(setting)) {
    // A failure without a recorded reason goes out as code 0, on purpose.
    response->SetError(SearchErrorToWebapiError(handler.error()), Json::Value());
    return;
  }
  Json::Value data(Json::objectValue);
  data["track"] = TrackArray(handler.tracks());
  data["count"] = handler.total();
  data["playlist_id"] = handler.playlist().GetId();
  response->SetSuccess(data);
}

void GetAudioByPlaylistId(QUOR::APIRequest* request, QUOR::APIResponse* response) {
  const std::string playlist_id = RequiredText(request, "playlist_id");
  SearchPlaylistHandler handler(request, response);
  const int offset = RequiredInt(request, "offset");
  const int limit = RequiredInt(request, "limit");
  if (!handler.SearchByPlaylistId(offset, limit, playlist_id)) {
    response->SetError(SearchErrorToWebapiError(handler.error()), Json::Value());
    return;
  }
  Json::Value data(Json::objectValue);
  data["track"] = TrackArray(handler.tracks());
  data["count"] = handler.total();
  response->SetSuccess(data);
}

}  // namespace Sonvik
