// Placeholders until playlists land: each method answers 100.
#include <json/value.h>

#include "host/api/api_response.h"
#include "voice_module/module/handlers.h"

namespace Sonvik {

void SearchAudioByPlaylistName(QUOR::APIRequest*, QUOR::APIResponse* response) {
  response->SetError(100, Json::Value());
}
void GetAudioByPlaylistId(QUOR::APIRequest*, QUOR::APIResponse* response) {
  response->SetError(100, Json::Value());
}

}  // namespace Sonvik
