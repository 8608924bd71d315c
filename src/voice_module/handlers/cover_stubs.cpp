// Placeholders until covers land: each method answers 100.
#include <json/value.h>

#include "host/api/api_response.h"
#include "voice_module/module/handlers.h"

namespace Sonvik {

void GetCoverByTrackId(QUOR::APIRequest*, QUOR::APIResponse* response) {
  response->SetError(100, Json::Value());
}

}  // namespace Sonvik
