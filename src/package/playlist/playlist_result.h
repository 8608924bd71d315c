#pragma once
// One playlist as the web API names it: display name, key within its kind, scope and kind.
//
// Web-API id forms (one text, no other form parses):
//   "personal_smart_<name>"   "shared_smart_<name>"     a smart playlist; the name is its key
//   "personal_normal_<key>"   "shared_normal_<key>"     a normal playlist whose name is its key
//   "personal_normal_<key>/<name>" ...                  a normal playlist with another name
// A shared normal key is a playlist number ("%lu", no leading zero); a personal one is a number
// or a playlist file's name. Names follow IsValidPlaylistName, keys hold no "/", the whole id
// holds no "../" and no control byte. The id is only ever compared, never used as a path.
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
