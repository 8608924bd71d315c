#include "package/playlist/playlist_library.h"

// Placeholders until the playlist library lands: there are no playlists.
namespace Sonvik::webapi::playlist {
PlaylistLibrary::PlaylistLibrary(QUOR::APIRequest* request) : request_(request) {}
int PlaylistLibrary::GetTrackFromNormalPlaylist(const std::string&, _tag_PLAYLIST_TYPE_, int, int,
                                                Json::Value&) {
  return -1;
}
int PlaylistLibrary::GetTrackFromSmartPlaylist(const std::string&, _tag_PLAYLIST_TYPE_,
                                               const std::string&, int, int, Json::Value&) {
  return -1;
}
}  // namespace Sonvik::webapi::playlist

int QUORPlaylistListAll(const char*, unsigned, PlaylistListRecord** list, int, int, int) {
  *list = nullptr;
  return 0;
}
int QUORPersonalPlaylistListAll(const char*, PlaylistListRecord** list, int, int) {
  *list = nullptr;
  return 0;
}
void QUORPlayListFree(PlaylistListRecord* list) {
  while (list != nullptr) {
    PlaylistListRecord* next = list->next;
    delete list;
    list = next;
  }
}
int QUORAudioWebapiUtilsParseSongId(const std::string&, std::string*) { return -1; }
namespace QuorAudioUtils {
std::vector<std::string> SmartPLSEnum(int, int, int& count, const char*) {
  count = 0;
  return {};
}
}  // namespace QuorAudioUtils
