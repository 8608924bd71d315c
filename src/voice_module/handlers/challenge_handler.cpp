#include "voice_module/handlers/challenge_handler.h"

#include <json/value.h>
#include <syslog.h>

#include "host/api/api_response.h"
#include "package/config/alexa_config.h"
#include "voice_module/module/handlers.h"

namespace Sonvik {

std::string ChallengeHandler::GetChallengeString() const {
  AmazonAlexa::AlexaConfig config;
  std::string challenge = config.challenge_string();
  if (config.ClearChallengeString() != 0) {
    syslog(LOG_ERR, "%s:%d Failed to clear challenge string", "challenge_handler", 15);
  }
  return challenge;
}

void GetChallengeString(QUOR::APIRequest* request, QUOR::APIResponse* response) {
  ChallengeHandler handler(request, response);
  Json::Value data(Json::objectValue);
  data["challengeString"] = handler.GetChallengeString();
  response->SetSuccess(data);
}

}  // namespace Sonvik
