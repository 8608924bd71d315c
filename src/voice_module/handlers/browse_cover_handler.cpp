#include "voice_module/handlers/browse_cover_handler.h"

#include <syslog.h>

#include <cstdio>

#include "host/api/api_request.h"
#include "package/library/track_record.h"
#include "voice_module/handlers/stream_handler.h"
#include "voice_module/module/handlers.h"

namespace Sonvik {
namespace {
constexpr const char* kUnit = "browse_handler";
}  // namespace

CoverHandler::CoverHandler(QUOR::APIRequest* request, QUOR::APIResponse* response)
    : BaseHandler(request, response), login_uid_(request->GetLoginUID()), cover_library_(request) {}

std::string CoverHandler::GetTrackPath(int id) {
  TrackRecord track{};
  char id_text[16];
  std::snprintf(id_text, sizeof(id_text), "%d", id);
  // Only a negative answer means "unknown" here; a positive one still filled the record.
  if (QUORMusicGetOneById("all", login_uid_, 0, &track, 0, id_text) < 0) return {};
  return track.path;
}

bool CoverHandler::GetCoverPathByTrackId(int id) {
  std::string track_path = GetTrackPath(id);
  if (track_path.empty()) {
    syslog(LOG_ERR, "%s:%d Failed to get track path [%d].", kUnit, 24, id);
    return false;
  }
  cover_path_ = cover_library_.GetEmbeddedCoverPath(track_path);
  if (!cover_path_.empty()) return true;
  cover_path_ = cover_library_.GetFolderCoverPath(track_path);
  return !cover_path_.empty();
}

// Raw output without switching the JSON answer off: what the host adds afterwards is its call.
void GetCoverByTrackId(QUOR::APIRequest* request, QUOR::APIResponse* response) {
  int id = request->GetAndCheckInt("track_id", QUOR::PARAM_REQUIRED, nullptr).Get();
  CoverHandler handler(request, response);
  if (handler.GetCoverPathByTrackId(id)) {
    std::string path = handler.cover_path();
    StreamHandler::OutputFile(path.c_str());
  } else {
    Output404NotFound();
  }
}

}  // namespace Sonvik
