#pragma once
// The track search methods' handler: one per request, it owns the track search engine bound to
// the caller and the voice keyword policy, and runs the policy's attempts until one finds tracks.
#include <string>

#include "host/api/base_handler.h"
#include "package/search/search_db_manager.h"
#include "package/search/search_types.h"
#include "voice_module/search/search_policy.h"

namespace Sonvik {

class SearchHandler : public QUOR::BaseHandler {
 public:
  // Binds the engine to the logged-in user's view of the library; keywords go through Alexa's
  // transform.
  SearchHandler(QUOR::APIRequest* request, QUOR::APIResponse* response);

  // Hands a non-empty keyword of `Kind` to the policy; an empty one is ignored.
  template <typename Kind>
  void SetSearchKeyword(const std::string& keyword) {
    if (keyword.empty()) return;
    search_policy_.SetSearchKeyword<Kind>(keyword);
  }

  // Runs the attempts with `setting` until one yields a page with tracks. True: the engine's
  // results hold the answer (maybe empty). False: the engine failed; its error says why.
  bool Search(const search::ListSetting& setting);
  // Runs the attempts until one counts a match. True: the engine's count holds the answer.
  bool Count();

  const search::SearchDBManager& db_manager() const { return db_manager_; }
  const search::SearchPolicy& search_policy() const { return search_policy_; }

 private:
  search::SearchDBManager db_manager_;
  search::SearchPolicy search_policy_;
};

// Reads "title", "album" and "artist" into `handler`. False when all three are absent or empty.
bool SetSearchHandler(QUOR::APIRequest* request, SearchHandler& handler);
// The web-API error code for an engine error: 4 is the caller's fault (101), 0 stays 0, the rest
// is 100.
int SearchErrorToWebapiError(search::SearchError error);
// "track_id" and "album" (exactly) to their order; anything else to SORT_BY_NONE.
search::SortBy SortByStringToSortBy(const std::string& text);

}  // namespace Sonvik
