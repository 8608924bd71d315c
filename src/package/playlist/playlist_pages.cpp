#include "package/playlist/playlist_pages.h"

#include <algorithm>

#include "package/library/user_view.h"
#include "package/playlist/m3u.h"
#include "package/playlist/playlist_files.h"
#include "package/playlist/playlist_store.h"
#include "package/sqlite/statement.h"

namespace Sonvik::playlist {

std::optional<int64_t> PageStoredPlaylist(sqlite3* db, unsigned owner_uid, int64_t id, unsigned uid,
                                          int64_t offset, int64_t limit, TrackObjectParts parts,
                                          Json::Value& tracks) {
  if (!FindStoredPlaylistById(db, owner_uid, id)) return std::nullopt;
  // Items find their track through the (path, virtual_index) index of the tracks table.
  const std::string from =
      " FROM playlist_items i JOIN tracks t ON t.path = i.path AND t.virtual_index ="
      " i.virtual_index WHERE i.playlist_id = ? AND " +
      library::UserViewCondition(uid, "t.library_id");
  sqlite::Statement count(db, "SELECT count(*)" + from);
  count.Bind(1, id);
  count.Step();
  const int64_t total = count.ColumnInt64(0);
  if (offset < total && limit > 0) {
    sqlite::Statement select(db, std::string("SELECT ") + kTrackObjectColumns + from +
                                     " ORDER BY i.position LIMIT ? OFFSET ?");
    select.BindAll(id, limit, offset);
    while (select.Step()) tracks.append(TrackObject(select, parts));
  }
  return total;
}

std::vector<int64_t> ResolveEntries(sqlite3* db, const std::vector<PlaylistEntry>& entries,
                                    unsigned uid) {
  sqlite::Statement find(db,
                         "SELECT t.id FROM tracks t WHERE t.path = ? AND t.virtual_index = ? AND " +
                             library::UserViewCondition(uid, "t.library_id"));
  std::vector<int64_t> ids;
  ids.reserve(entries.size());
  for (const auto& entry : entries) {
    find.BindAll(entry.path, entry.virtual_index);
    ids.push_back(find.Step() ? find.ColumnInt64(0) : 0);
    find.Reset();
  }
  return ids;
}

std::optional<int64_t> PagePlaylistFile(sqlite3* db, const std::string& preference_dir,
                                        const std::string& key, unsigned uid, int64_t offset,
                                        int64_t limit, TrackObjectParts parts,
                                        Json::Value& tracks) {
  if (preference_dir.empty()) return std::nullopt;
  const std::string folder = PersonalPlaylistFolder(preference_dir);
  auto files = ListPlaylistFiles(folder);
  if (!files) return std::nullopt;
  auto file = FindPlaylistFile(*files, key);
  if (!file) return std::nullopt;
  // The path is built from the name the listing found, never from `key`.
  auto text = ReadSmallFile(folder + "/" + file->file_name, kMaxPlaylistFileBytes);
  if (!text) return std::nullopt;

  std::vector<int64_t> visible = ResolveEntries(db, ParseM3u(*text), uid);
  std::erase(visible, 0);
  const auto total = static_cast<int64_t>(visible.size());
  if (offset >= total || limit <= 0) return total;
  sqlite::Statement select(
      db, std::string("SELECT ") + kTrackObjectColumns + " FROM tracks t WHERE t.id = ?");
  const int64_t end = std::min(total, offset + limit);
  for (int64_t i = offset; i < end; ++i) {
    select.Bind(1, visible[static_cast<size_t>(i)]);
    if (select.Step()) tracks.append(TrackObject(select, parts));
    select.Reset();
  }
  return total;
}

}  // namespace Sonvik::playlist
