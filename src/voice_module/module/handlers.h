#pragma once
// The handler functions that the API table names, one per method.
namespace QUOR {
class APIRequest;
class APIResponse;
}  // namespace QUOR

namespace Sonvik {

void CountSearchAudio(QUOR::APIRequest* request, QUOR::APIResponse* response);
void SearchAudio(QUOR::APIRequest* request, QUOR::APIResponse* response);
void SearchAudioByPlaylistName(QUOR::APIRequest* request, QUOR::APIResponse* response);
void GetAudioByPlaylistId(QUOR::APIRequest* request, QUOR::APIResponse* response);
void GetCoverByTrackId(QUOR::APIRequest* request, QUOR::APIResponse* response);
void StreamAudio(QUOR::APIRequest* request, QUOR::APIResponse* response);
void TranscodeAudio(QUOR::APIRequest* request, QUOR::APIResponse* response);
void GetBasicInformation(QUOR::APIRequest* request, QUOR::APIResponse* response);
void GetChallengeString(QUOR::APIRequest* request, QUOR::APIResponse* response);

}  // namespace Sonvik
