#pragma once
// Pages of a normal playlist's tracks as one user sees them: items whose track is not in the
// user's view (gone, or in another user's personal library) are left out of the page and of the
// count alike.
#include <json/value.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "package/playlist/playlist_entry.h"
#include "package/playlist/track_objects.h"

struct sqlite3;

namespace Sonvik::playlist {

// Playlist `id` of owner `owner_uid` in the database. Appends the track objects of the page to
// `tracks` and answers the number of visible tracks; nullopt when there is no such playlist.
// Throws sqlite::Error.
std::optional<int64_t> PageStoredPlaylist(sqlite3* db, unsigned owner_uid, int64_t id, unsigned uid,
                                          int64_t offset, int64_t limit, TrackObjectParts parts,
                                          Json::Value& tracks);

// The playlist file of the preference folder whose name (or number) is `key`. nullopt when the
// folder cannot be listed, there is no such file or it cannot be read.
std::optional<int64_t> PagePlaylistFile(sqlite3* db, const std::string& preference_dir,
                                        const std::string& key, unsigned uid, int64_t offset,
                                        int64_t limit, TrackObjectParts parts, Json::Value& tracks);

// The ids of the tracks `entries` name, in order, as user `uid` sees them; 0 for an entry that is
// not in the view.
std::vector<int64_t> ResolveEntries(sqlite3* db, const std::vector<PlaylistEntry>& entries,
                                    unsigned uid);

}  // namespace Sonvik::playlist
