#pragma once
// The playlist library: playlists' tracks as web-API track objects, plus the plain list functions.
#include <json/value.h>

#include <string>
#include <vector>

namespace QUOR {
class APIRequest;
}

// The library's playlist kind.
enum _tag_PLAYLIST_TYPE_ : int {
  PLAYLIST_PERSONAL = 0,
  PLAYLIST_SHARED = 1,
};

// One entry of a playlist list; release the whole list with QUORPlayListFree.
struct PlaylistListRecord {
  unsigned long id;
  char name[512];
  PlaylistListRecord* next;
};

// Lists the normal playlists in the database: kind "personal" (of user `uid`) or "shared" (uid 0).
// 0 or more on success (`*list` may be null for none); negative on failure.
int QUORPlaylistListAll(const char* kind, unsigned uid, PlaylistListRecord** list, int reserved1,
                        int reserved2, int reserved3);
// Lists the `.m3u8` playlists of a preference folder's playlists/ (personal library off).
int QUORPersonalPlaylistListAll(const char* preference_dir, PlaylistListRecord** list,
                                int reserved1, int reserved2);
void QUORPlayListFree(PlaylistListRecord* list);

// Accepts exactly "track_<n>" with n a positive decimal number; `number` gets n as text.
// 0 on success, non-zero otherwise.
int QUORAudioWebapiUtilsParseSongId(const std::string& text, std::string* number);

namespace QuorAudioUtils {
// Names of the smart playlists in the rule file at `path`, or of the shared rule file when
// `path` is null, in file order. `count` receives the number of names.
std::vector<std::string> SmartPLSEnum(int reserved1, int reserved2, int& count, const char* path);
}  // namespace QuorAudioUtils

namespace Sonvik::webapi::playlist {

class PlaylistLibrary {
 public:
  explicit PlaylistLibrary(QUOR::APIRequest* request);

  // Adds "additional"/"song_tag" (album, artist, ...) and "additional"/"song_audio"
  // (container, codec, ...) to every track object.
  void SetAdditionalSongTag(bool on) { song_tag_ = on; }
  void SetAdditionalSongAudio(bool on) { song_audio_ = on; }

  // Appends one page of the playlist's track objects to `tracks` (a JSON array) and answers the
  // playlist's total number of tracks; negative on failure.
  int GetTrackFromNormalPlaylist(const std::string& id, _tag_PLAYLIST_TYPE_ type, int offset,
                                 int limit, Json::Value& tracks);
  int GetTrackFromSmartPlaylist(const std::string& name, _tag_PLAYLIST_TYPE_ type,
                                const std::string& scope, int offset, int limit,
                                Json::Value& tracks);

 private:
  QUOR::APIRequest* request_;
  bool song_tag_ = false;
  bool song_audio_ = false;
};

}  // namespace Sonvik::webapi::playlist
