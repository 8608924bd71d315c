#pragma once
// The check functions of the check table. Each one reads every parameter of its method and, on a
// refusal, has already answered error 120 with {"name": ..., "reason": "required"|"type"|
// "condition"} naming the first offending parameter. On acceptance it touched nothing.
namespace QUOR {
class APIRequest;
class APIResponse;
}  // namespace QUOR

namespace Sonvik {

bool CheckAlways(QUOR::APIRequest* request, QUOR::APIResponse* response);
bool CheckStreamTrackId(QUOR::APIRequest* request, QUOR::APIResponse* response);
bool CheckCoverTrackId(QUOR::APIRequest* request, QUOR::APIResponse* response);
bool CheckCountSearch(QUOR::APIRequest* request, QUOR::APIResponse* response);
bool CheckSearch(QUOR::APIRequest* request, QUOR::APIResponse* response);
bool CheckSearchPlaylist(QUOR::APIRequest* request, QUOR::APIResponse* response);
bool CheckGetPlaylist(QUOR::APIRequest* request, QUOR::APIResponse* response);

}  // namespace Sonvik
