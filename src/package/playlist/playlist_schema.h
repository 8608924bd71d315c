#pragma once
// The playlist tables of the library database, created by one step of its migration list.
struct sqlite3;

namespace Sonvik::playlist {

// Normal playlists (shared: owner_uid 0; personal: the user's uid) and their ordered items.
// Items name a track by path and virtual index rather than by id, so a playlist survives a
// rescan that gives its tracks new ids. A playlist imported from a .m3u/.m3u8 file of a shared
// folder points at that file's playlist_files row and goes with it.
void CreatePlaylistTables(sqlite3* db);

}  // namespace Sonvik::playlist
