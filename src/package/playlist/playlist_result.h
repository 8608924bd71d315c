#pragma once
// One playlist as the web API names it: display name, key within its kind, scope and kind.
#include <string>

namespace Sonvik::webapi::playlist {

class PlaylistResult {
 public:
  // Empty: GetId() is empty.
  PlaylistResult() = default;
  // A smart playlist, keyed by its name.
  PlaylistResult(const std::string& name, bool is_personal);
  // A normal playlist with its key.
  PlaylistResult(const std::string& name, const std::string& id, bool is_personal);
  // Parses a web-API id made by GetId(); anything else gives an empty result.
  explicit PlaylistResult(const std::string& webapi_id);

  // The web-API id naming scope, kind and key; empty for an empty or unparsable result.
  std::string GetId() const;

  std::string name;
  std::string id;
  bool is_personal = false;
  bool is_smart = false;
};

}  // namespace Sonvik::webapi::playlist
