// Placeholders until search, playlists, covers and streaming land: each method answers 100.
#include <json/value.h>

#include "host/api/api_response.h"
#include "voice_module/module/handlers.h"

namespace Sonvik {
namespace {
void NotYet(QUOR::APIResponse* response) { response->SetError(100, Json::Value()); }
}  // namespace

void CountSearchAudio(QUOR::APIRequest*, QUOR::APIResponse* response) { NotYet(response); }
void SearchAudio(QUOR::APIRequest*, QUOR::APIResponse* response) { NotYet(response); }
void SearchAudioByPlaylistName(QUOR::APIRequest*, QUOR::APIResponse* response) { NotYet(response); }
void GetAudioByPlaylistId(QUOR::APIRequest*, QUOR::APIResponse* response) { NotYet(response); }
void GetCoverByTrackId(QUOR::APIRequest*, QUOR::APIResponse* response) { NotYet(response); }
void StreamAudio(QUOR::APIRequest*, QUOR::APIResponse* response) { NotYet(response); }
void TranscodeAudio(QUOR::APIRequest*, QUOR::APIResponse* response) { NotYet(response); }

}  // namespace Sonvik
