#include "package/search/search_types.h"

namespace Sonvik::search {

Json::Value SearchResult::AsJson() const {
  Json::Value object(Json::objectValue);
  object["id"] = id;
  object["title"] = title;
  object["album"] = album;
  object["artist"] = artist;
  object["container"] = container;
  object["codec"] = codec;
  return object;
}

}  // namespace Sonvik::search
