#pragma once
// The playlist methods' handler: finds one playlist by its spoken name in four sources (the
// caller's normal and smart playlists, then the shared ones), exactly first and then in part, or
// takes it from its web-API id, and reads one page of its tracks with root privileges.
#include <cstdint>
#include <string>
#include <vector>

#include "host/api/base_handler.h"
#include "package/playlist/playlist_library.h"
#include "package/playlist/playlist_result.h"
#include "package/search/search_types.h"

namespace Sonvik {

class SearchPlaylistHandler : public QUOR::BaseHandler {
 public:
  using PlaylistResult = webapi::playlist::PlaylistResult;

  SearchPlaylistHandler(QUOR::APIRequest* request, QUOR::APIResponse* response);

  // The spoken name, upper-cased byte by byte; names are compared with it the same way.
  void SetSearchKeyword(const std::string& keyword);
  // Forgets the last answer and its reason (paging is kept).
  void ClearPreviousResult();

  // Name search with the setting's offset and limit. True: the search ran; playlist().GetId() is
  // empty when nothing matched. False: a source or the library failed; error() says why when a
  // reason was recorded.
  bool Search(const search::ListSetting& setting);
  // One page of the playlist named by `playlist_id`. False with error() 4 when the id does not
  // parse or the library cannot give the tracks.
  bool SearchByPlaylistId(int32_t offset, int32_t limit, const std::string& playlist_id);

  // The steps of the search. `personal`: the caller's own playlists rather than the shared ones.
  bool SearchNormalPlaylist(bool personal);
  bool SearchSmartPlaylist(bool personal);
  bool SearchPartialMatch();
  // Reads a page of `playlist`'s tracks as root; on success it becomes the answer.
  bool SaveResult(const PlaylistResult& playlist);

  const std::vector<search::SearchResult>& tracks() const { return tracks_; }
  const PlaylistResult& playlist() const { return playlist_; }
  int32_t total() const { return total_; }
  search::SearchError error() const { return error_; }

 private:
  std::string keyword_;
  std::vector<search::SearchResult> tracks_;
  PlaylistResult playlist_;
  int32_t total_ = 0;
  search::SearchError error_ = search::SEARCH_ERROR_NONE;
  std::vector<PlaylistResult> candidates_;
  int32_t offset_ = 0;
  int32_t limit_ = 0;
  uint32_t login_uid_;
  std::string user_name_;
  std::string preference_dir_;
  webapi::playlist::PlaylistLibrary library_;
};

}  // namespace Sonvik
