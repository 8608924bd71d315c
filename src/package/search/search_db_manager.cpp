#include "package/search/search_db_manager.h"

namespace Sonvik::search {

// Placeholder engine until the library database lands: it finds nothing.
SearchDBManager::SearchDBManager(unsigned uid) : uid_(uid) {}
SearchDBManager::~SearchDBManager() = default;

void SearchDBManager::Init() {
  conditions.clear();
  results.clear();
  count = 0;
  error = SEARCH_ERROR_NONE;
  helper_ = SearchDBHelper();
}

int SearchDBManager::GetTrackByCondition(const ListSetting&) { return 1; }
int SearchDBManager::CountTrackByCondition() { return 1; }

}  // namespace Sonvik::search
