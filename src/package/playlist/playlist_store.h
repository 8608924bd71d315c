#pragma once
// Normal playlists kept in the library database: shared ones (owner 0) and personal ones (the
// owner's uid, used while that user's personal library is switched on). Writers run these inside
// their own transaction. Everything throws sqlite::Error on failure.
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "package/playlist/playlist_entry.h"

struct sqlite3;

namespace Sonvik::playlist {

struct StoredPlaylist {
  int64_t id = 0;
  unsigned owner_uid = 0;
  std::string name;
  // Imported from a playlist file of a shared folder: that file is where it is edited.
  bool imported = false;
};

// The owner's playlists ordered by name (ASCII case folded), then id.
std::vector<StoredPlaylist> ListStoredPlaylists(sqlite3* db, unsigned owner_uid);
std::optional<StoredPlaylist> FindStoredPlaylist(sqlite3* db, unsigned owner_uid,
                                                 const std::string& name);
std::optional<StoredPlaylist> FindStoredPlaylistById(sqlite3* db, unsigned owner_uid, int64_t id);

// Answers the new playlist's id. A name the owner already uses fails with a constraint error.
int64_t InsertStoredPlaylist(sqlite3* db, unsigned owner_uid, const std::string& name);
void DeleteStoredPlaylist(sqlite3* db, int64_t id);

std::vector<PlaylistEntry> ReadStoredEntries(sqlite3* db, int64_t id);
// Replaces the playlist's items with `entries`, in that order.
void WriteStoredEntries(sqlite3* db, int64_t id, const std::vector<PlaylistEntry>& entries);

}  // namespace Sonvik::playlist
