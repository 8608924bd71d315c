#include "voice_module/module/api_table.h"

#include "voice_module/module/handlers.h"
#include "voice_module/module/request_checks.h"

namespace {
constexpr const char* kBrowse = "QUOR.Sonvik.VoiceAssistant.Browse";
constexpr const char* kStream = "QUOR.Sonvik.VoiceAssistant.Stream";
constexpr const char* kInfo = "QUOR.Sonvik.VoiceAssistant.Info";
constexpr const char* kChallenge = "QUOR.Sonvik.VoiceAssistant.Challenge";
}  // namespace

namespace Sonvik {

const APIEntry gTable[] = {
    {kBrowse, 1, "count_search", CountSearchAudio},
    {kBrowse, 1, "search", SearchAudio},
    {kBrowse, 1, "search_playlist", SearchAudioByPlaylistName},
    {kBrowse, 1, "get_playlist", GetAudioByPlaylistId},
    {kBrowse, 1, "get_cover", GetCoverByTrackId},
    {kStream, 1, "stream", StreamAudio},
    {kStream, 1, "transcode", TranscodeAudio},
    {kInfo, 1, "get", GetBasicInformation},
    {kChallenge, 1, "get", GetChallengeString},
    {nullptr, 0, nullptr, nullptr},
};

}  // namespace Sonvik

// The check table's order differs from the API table's; hosts must not rely on either order.
extern "C" const APICheckEntry gCheckTable[] = {
    {kInfo, 1, "get", Sonvik::CheckAlways, nullptr, nullptr},
    {kStream, 1, "transcode", Sonvik::CheckStreamTrackId, nullptr, nullptr},
    {kStream, 1, "stream", Sonvik::CheckStreamTrackId, nullptr, nullptr},
    {kBrowse, 1, "count_search", Sonvik::CheckCountSearch, nullptr, nullptr},
    {kBrowse, 1, "get_playlist", Sonvik::CheckGetPlaylist, nullptr, nullptr},
    {kBrowse, 1, "search", Sonvik::CheckSearch, nullptr, nullptr},
    {kBrowse, 1, "search_playlist", Sonvik::CheckSearchPlaylist, nullptr, nullptr},
    {kBrowse, 1, "get_cover", Sonvik::CheckCoverTrackId, nullptr, nullptr},
    {kChallenge, 1, "get", Sonvik::CheckAlways, nullptr, nullptr},
    {nullptr, 0, nullptr, nullptr, nullptr, nullptr},
};

extern "C" const APIEntry* GetAPITable() { return Sonvik::gTable; }
extern "C" const APICheckEntry* GetAPICheckTable() { return gCheckTable; }
