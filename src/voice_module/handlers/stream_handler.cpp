#include "voice_module/handlers/stream_handler.h"

#include <sys/stat.h>
#include <syslog.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "host/api/api_request.h"
#include "host/api/api_response.h"
#include "package/audio/audio_output.h"
#include "package/credentials/credentials.h"
#include "voice_module/module/handlers.h"

namespace Sonvik {
namespace {

constexpr const char* kUnit = "stream_handler";
// Track files are read as "root"; the process otherwise serves as the package's account.
constexpr const char* kRootAccount = "root";
constexpr const char* kServiceAccount = "Sonvik";
constexpr int64_t kTranscodeBitRate = 128000;

// The space before the line end is part of the answer's bytes and stays.
constexpr const char kAcceptRangesLine[] = "Accept-Ranges: bytes \r\n";

}  // namespace

StreamHandler::StreamHandler(QUOR::APIRequest* request, QUOR::APIResponse* response)
    : BaseHandler(request, response), login_uid_(request->GetLoginUID()), track_{} {}

bool StreamHandler::OutputFile(const char* path) {
  ResetCredentialsByName(kRootAccount, true);
  int result = HTTPFileOutputer().Output(path, nullptr);
  ResetCredentialsByName(kServiceAccount, true);
  if (result == -1) {
    syslog(LOG_ERR, "%s:%d Failed to output track [%s]", kUnit, 18, path);
    return false;
  }
  return true;
}

bool StreamHandler::SetTrackById(int id) {
  char id_text[16];
  std::snprintf(id_text, sizeof(id_text), "%d", id);
  if (QUORMusicGetOneById("all", login_uid_, 0, &track_, 0, id_text) != 0) {
    syslog(LOG_ERR, "%s:%d Failed to get track info by id %d", kUnit, 29, id);
    return false;
  }
  ResetCredentialsByName(kRootAccount, true);
  struct stat64 status {};
  bool is_file = ::stat64(track_.path, &status) == 0 && S_ISREG(status.st_mode);
  ResetCredentialsByName(kServiceAccount, true);
  if (is_file) return true;
  syslog(LOG_ERR, "%s:%d Failed to stat track file %s %s", kUnit, 37, track_.path,
         std::strerror(errno));
  track_ = TrackRecord{};
  return false;
}

bool StreamHandler::Stream() {
  if (IsVirtualMusic(track_.virtual_index)) {
    ResetCredentialsByName(kRootAccount, true);
    int result = QUORAudioSeekSong(&track_, 0);
    ResetCredentialsByName(kServiceAccount, true);
    if (result != 0) {
      syslog(LOG_ERR, "%s:%d Failed to seek virtual track [%s] %d", kUnit, 54, track_.path,
             track_.virtual_index);
      return false;
    }
    return true;
  }
  // A plain file that fails half-way has already started its answer: no 404 can follow.
  OutputFile(track_.path);
  return true;
}

bool StreamHandler::Transcode() {
  if (QUORAudioWebapiUtilsIsSupportTranscodingByFileExtension(track_.path) == 0) return false;
  // Unlike streaming, transcoding reads the file as the service account.
  if (QUORAudioTranscodeSong(&track_, "mp3", 0, 0, kTranscodeBitRate) == 0) return true;
  syslog(LOG_ERR, "%s:%d Failed to transcode track [%s] to mp3", kUnit, 69, track_.path);
  return false;
}

int Output404NotFound() {
  std::fputs("Cache-control: no-store\r\n", stdout);
  std::fputs("Status: 404 Not Found\r\n", stdout);
  std::fputs("\r\n", stdout);
  return std::fflush(stdout);
}

void StreamAudio(QUOR::APIRequest* request, QUOR::APIResponse* response) {
  response->SetEnableOutput(false);
  StreamHandler handler(request, response);
  int id = request->GetAndCheckInt("track_id", QUOR::PARAM_REQUIRED, nullptr).Get();
  if (handler.SetTrackById(id)) {
    std::fputs(kAcceptRangesLine, stdout);
    std::fflush(stdout);
    if (handler.Stream()) return;
  }
  // After a failed seek the 404 lines join the "Accept-Ranges" line in one header block.
  Output404NotFound();
}

void TranscodeAudio(QUOR::APIRequest* request, QUOR::APIResponse* response) {
  response->SetEnableOutput(false);
  StreamHandler handler(request, response);
  int id = request->GetAndCheckInt("track_id", QUOR::PARAM_REQUIRED, nullptr).Get();
  if (handler.SetTrackById(id) && handler.Transcode()) return;
  Output404NotFound();
}

}  // namespace Sonvik
