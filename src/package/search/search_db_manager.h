#pragma once
// The track search engine: finds tracks of one user's view of the library by voice-matched
// album, artist and title conditions.
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "package/search/search_kinds.h"
#include "package/search/search_types.h"

namespace Sonvik::search {

// One condition: every non-empty kind must match; an empty kind leaves that kind unrestricted.
struct AllSearchItem {
  AllSearchItem(const std::string& album_keyword, const std::string& artist_keyword,
                const std::string& title_keyword)
      : album(album_keyword), artist(artist_keyword), title(title_keyword) {}
  std::string album;
  std::string artist;
  std::string title;
};

// Per-kind settings. `fill`: put this kind's field into each result.
struct SearchTypeInfo {
  bool fill = false;
};

class SearchDBHelper {
 public:
  template <typename Kind>
  SearchTypeInfo& GetEditableSearchTypeInfo();
  template <typename Kind>
  const SearchTypeInfo& GetSearchTypeInfo() const;

 private:
  SearchTypeInfo album_;
  SearchTypeInfo artist_;
  SearchTypeInfo title_;
};

template <>
inline SearchTypeInfo& SearchDBHelper::GetEditableSearchTypeInfo<SearchAlbum>() {
  return album_;
}
template <>
inline SearchTypeInfo& SearchDBHelper::GetEditableSearchTypeInfo<SearchArtist>() {
  return artist_;
}
template <>
inline SearchTypeInfo& SearchDBHelper::GetEditableSearchTypeInfo<SearchTitle>() {
  return title_;
}
template <>
inline const SearchTypeInfo& SearchDBHelper::GetSearchTypeInfo<SearchAlbum>() const {
  return album_;
}
template <>
inline const SearchTypeInfo& SearchDBHelper::GetSearchTypeInfo<SearchArtist>() const {
  return artist_;
}
template <>
inline const SearchTypeInfo& SearchDBHelper::GetSearchTypeInfo<SearchTitle>() const {
  return title_;
}

class SearchDBManager {
 public:
  // The library as seen by user `uid`: shared tracks plus the user's personal library when on.
  explicit SearchDBManager(unsigned uid);
  ~SearchDBManager();
  SearchDBManager(const SearchDBManager&) = delete;
  SearchDBManager& operator=(const SearchDBManager&) = delete;

  // Fresh query state: no conditions, no results, count 0, no error, type infos reset.
  void Init();
  // Runs the conditions (alternatives: a track matching any one matches) with paging and
  // sorting into `results`. Non-zero on success; 0 with `error` set on failure.
  int GetTrackByCondition(const ListSetting& setting);
  // Counts the tracks matching the conditions into `count`. Non-zero on success.
  int CountTrackByCondition();

  SearchDBHelper& helper() { return helper_; }

  std::vector<AllSearchItem> conditions;
  SearchError error = SEARCH_ERROR_NONE;
  std::vector<SearchResult> results;
  int32_t count = 0;

 private:
  // Folds the conditions and runs `query` on the matches inside one read transaction; every
  // failure becomes `error` and a zero result.
  template <typename Query>
  int Run(Query query);

  unsigned uid_;
  SearchDBHelper helper_;
};

}  // namespace Sonvik::search
