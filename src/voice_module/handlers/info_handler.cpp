#include "voice_module/handlers/info_handler.h"

#include <json/value.h>
#include <syslog.h>

#include <cstdlib>
#include <cstring>

#include "host/api/api_response.h"
#include "package/config/audio_config.h"
#include "package/util/key_value_file.h"
#include "voice_module/module/handlers.h"

namespace Sonvik {
namespace {
constexpr const char* kUnit = "info_handler";
constexpr const char* kInfoPath = "/var/packages/Sonvik/INFO";
constexpr int kVersionBufferLength = 30;
}  // namespace

int InfoHandler::GetBuildNumber() const {
  char value[kVersionBufferLength] = {};
  if (QLIBCFileGetKeyValue(kInfoPath, "version", value, sizeof(value), 0) < 1) {
    syslog(LOG_ERR, "%s:%d Failed to get key version in [%s]", kUnit, 14, kInfoPath);
    return -1;
  }
  const char* dash = std::strrchr(value, '-');
  if (dash == nullptr) {
    syslog(LOG_ERR, "%s:%d Failed to parse version [%s]", kUnit, 21, value);
    return -1;
  }
  long build = std::strtol(dash + 1, nullptr, 10);
  if (build < 1 || build > 0x7fffffff) return -1;
  return static_cast<int>(build);
}

bool InfoHandler::CanTranscodeToMp3() const {
  return QUORAudioDefaultConfCheck("support_transcode_mp3", "yes", 0) != 0;
}

void GetBasicInformation(QUOR::APIRequest* request, QUOR::APIResponse* response) {
  InfoHandler handler(request, response);
  Json::Value data(Json::objectValue);
  Json::Value capabilities(Json::arrayValue);

  int build = handler.GetBuildNumber();
  if (build < 1) {
    response->SetError(100, Json::Value());
    return;
  }
  data["version"] = build;
  capabilities.append("wav");
  if (handler.CanTranscodeToMp3()) capabilities.append("mp3");
  data["transcode_capability"] = capabilities;
  response->SetSuccess(data);
}

}  // namespace Sonvik
