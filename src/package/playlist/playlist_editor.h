#pragma once
// Managing one owner's playlists (the `sonvik playlist` commands): the shared playlists, or one
// user's personal ones. A user's normal playlists live in the library database while the
// personal library is switched on, else as .m3u8 files in the preference folder; smart playlists
// live in the owner's rule file. Every change is all or nothing: database changes in one
// transaction committed with synchronous=FULL, files replaced by rename under a folder lock.
#include <json/value.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "package/playlist/smart_rules.h"

struct sqlite3;

namespace Sonvik::playlist {

// A refusal with a message for the user; nothing was changed.
class PlaylistError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct PlaylistOwner {
  unsigned uid = 0;  // 0: the shared playlists
  std::string user_name;
  std::string preference_dir;
};

struct PlaylistSummary {
  std::string name;
  bool smart = false;
  int64_t tracks = 0;  // tracks the owner can see
  std::string where;   // "library database", a file, or the file it was imported from
};

struct PlaylistItem {
  int64_t position = 0;  // 1-based, as `remove` takes it
  int64_t track_id = 0;  // 0: the track is not in the owner's view (gone or not visible)
  std::string path;      // the entry as stored (smart playlists: empty)
  Json::Value track;     // the track object when track_id is not 0
};

class PlaylistEditor {
 public:
  // `db` is an open, migrated library database that outlives the editor.
  PlaylistEditor(sqlite3* db, PlaylistOwner owner);

  void Create(const std::string& name);
  // Appends the tracks in order; every id must be a track the owner can see.
  void Add(const std::string& name, const std::vector<int64_t>& track_ids);
  // Removes the items at these 1-based positions (as `Show` numbers them).
  void Remove(const std::string& name, const std::vector<int64_t>& positions);
  void Delete(const std::string& name);
  void CreateSmart(const SmartPlaylist& playlist);

  std::vector<PlaylistSummary> List();
  std::vector<PlaylistItem> Show(const std::string& name);

 private:
  bool NormalInDatabase() const;
  std::string PlaylistFolder() const;
  std::string SmartFilePath() const;
  void CheckNewName(const std::string& name);

  sqlite3* db_;
  PlaylistOwner owner_;
  bool normal_in_database_;
};

}  // namespace Sonvik::playlist
