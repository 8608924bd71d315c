#include "package/playlist/playlist_library.h"

#include <cstring>
#include <exception>
#include <optional>
#include <string>

#include "host/api/api_request.h"
#include "package/library/library_database.h"
#include "package/library/personal_library.h"
#include "package/playlist/playlist_files.h"
#include "package/playlist/playlist_pages.h"
#include "package/playlist/smart_playlist_store.h"
#include "package/playlist/smart_query.h"

namespace Sonvik::webapi::playlist {
namespace {

constexpr int kFailure = -1;

// A playlist number as "%lu" writes it; nullopt for anything else.
std::optional<int64_t> ParsePlaylistNumber(const std::string& text) {
  if (text.empty() || text.size() > 19 || text.front() == '0') return std::nullopt;
  int64_t value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    value = value * 10 + (c - '0');
  }
  return value;
}

int ClampCount(int64_t count) { return count > 0x7fffffff ? 0x7fffffff : static_cast<int>(count); }

}  // namespace

PlaylistLibrary::PlaylistLibrary(QUOR::APIRequest* request) : request_(request) {}

int PlaylistLibrary::GetTrackFromNormalPlaylist(const std::string& id, _tag_PLAYLIST_TYPE_ type,
                                                int offset, int limit, Json::Value& tracks) {
  if (request_ == nullptr || offset < 0 || limit < 0 || !tracks.isArray()) return kFailure;
  const Sonvik::playlist::TrackObjectParts parts{song_tag_, song_audio_};
  const unsigned uid = request_->GetLoginUID();
  try {
    sqlite3* db = library::ProcessLibraryDatabase().get();
    std::optional<int64_t> count;
    if (type == PLAYLIST_SHARED) {
      if (auto number = ParsePlaylistNumber(id)) {
        count =
            Sonvik::playlist::PageStoredPlaylist(db, 0, *number, uid, offset, limit, parts, tracks);
      }
    } else if (type == PLAYLIST_PERSONAL && uid != 0) {
      if (IsPersonalLibEnabled(request_->GetLoginUserName()) != 0) {
        if (auto number = ParsePlaylistNumber(id)) {
          count = Sonvik::playlist::PageStoredPlaylist(db, uid, *number, uid, offset, limit, parts,
                                                       tracks);
        }
      } else {
        count = Sonvik::playlist::PagePlaylistFile(db, request_->GetPreferenceDir(), id, uid,
                                                   offset, limit, parts, tracks);
      }
    }
    return count ? ClampCount(*count) : kFailure;
  } catch (const std::exception&) {
    return kFailure;
  }
}

int PlaylistLibrary::GetTrackFromSmartPlaylist(const std::string& name, _tag_PLAYLIST_TYPE_ type,
                                               const std::string& scope, int offset, int limit,
                                               Json::Value& tracks) {
  if (request_ == nullptr || scope != "all" || offset < 0 || limit < 0 || !tracks.isArray()) {
    return kFailure;
  }
  const unsigned uid = request_->GetLoginUID();
  std::string path;
  if (type == PLAYLIST_SHARED) {
    path = Sonvik::playlist::SharedSmartPlaylistPath();
  } else if (type == PLAYLIST_PERSONAL && uid != 0 && !request_->GetPreferenceDir().empty()) {
    path = Sonvik::playlist::PersonalSmartPlaylistPath(request_->GetPreferenceDir());
  } else {
    return kFailure;
  }
  try {
    std::string problem;
    auto file = Sonvik::playlist::LoadSmartPlaylists(path, &problem);
    if (!file) return kFailure;
    for (const auto& playlist : file->playlists) {
      if (playlist.name != name) continue;
      sqlite3* db = library::ProcessLibraryDatabase().get();
      return ClampCount(Sonvik::playlist::EvaluateSmartPlaylist(db, playlist, uid, offset, limit,
                                                                {song_tag_, song_audio_}, tracks));
    }
    return kFailure;
  } catch (const std::exception&) {
    return kFailure;
  }
}

}  // namespace Sonvik::webapi::playlist
