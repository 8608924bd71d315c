#include "package/playlist/playlist_store.h"

#include "package/sqlite/statement.h"

namespace Sonvik::playlist {
namespace {

constexpr const char* kColumns =
    "SELECT id, owner_uid, name, source_file_id IS NOT NULL FROM playlists";

StoredPlaylist ReadRow(const sqlite::Statement& row) {
  StoredPlaylist playlist;
  playlist.id = row.ColumnInt64(0);
  playlist.owner_uid = static_cast<unsigned>(row.ColumnInt64(1));
  playlist.name = std::string(row.ColumnText(2));
  playlist.imported = row.ColumnInt(3) != 0;
  return playlist;
}

}  // namespace

std::vector<StoredPlaylist> ListStoredPlaylists(sqlite3* db, unsigned owner_uid) {
  sqlite::Statement select(
      db, std::string(kColumns) + " WHERE owner_uid = ? ORDER BY name COLLATE NOCASE, id");
  select.Bind(1, owner_uid);
  std::vector<StoredPlaylist> playlists;
  while (select.Step()) playlists.push_back(ReadRow(select));
  return playlists;
}

std::optional<StoredPlaylist> FindStoredPlaylist(sqlite3* db, unsigned owner_uid,
                                                 const std::string& name) {
  sqlite::Statement select(db, std::string(kColumns) + " WHERE owner_uid = ? AND name = ?");
  select.BindAll(owner_uid, name);
  if (!select.Step()) return std::nullopt;
  return ReadRow(select);
}

std::optional<StoredPlaylist> FindStoredPlaylistById(sqlite3* db, unsigned owner_uid, int64_t id) {
  sqlite::Statement select(db, std::string(kColumns) + " WHERE owner_uid = ? AND id = ?");
  select.BindAll(owner_uid, id);
  if (!select.Step()) return std::nullopt;
  return ReadRow(select);
}

int64_t InsertStoredPlaylist(sqlite3* db, unsigned owner_uid, const std::string& name) {
  sqlite::Statement insert(db, "INSERT INTO playlists (owner_uid, name) VALUES (?, ?)");
  insert.BindAll(owner_uid, name);
  insert.Run();
  return sqlite3_last_insert_rowid(db);
}

void DeleteStoredPlaylist(sqlite3* db, int64_t id) {
  sqlite::Statement remove(db, "DELETE FROM playlists WHERE id = ?");
  remove.Bind(1, id);
  remove.Run();
}

std::vector<PlaylistEntry> ReadStoredEntries(sqlite3* db, int64_t id) {
  sqlite::Statement select(
      db, "SELECT path, virtual_index FROM playlist_items WHERE playlist_id = ? ORDER BY position");
  select.Bind(1, id);
  std::vector<PlaylistEntry> entries;
  while (select.Step()) {
    entries.push_back({std::string(select.ColumnText(0)), select.ColumnInt(1)});
  }
  return entries;
}

void WriteStoredEntries(sqlite3* db, int64_t id, const std::vector<PlaylistEntry>& entries) {
  sqlite::Statement clear(db, "DELETE FROM playlist_items WHERE playlist_id = ?");
  clear.Bind(1, id);
  clear.Run();
  sqlite::Statement insert(db,
                           "INSERT INTO playlist_items (playlist_id, position, path, "
                           "virtual_index) VALUES (?, ?, ?, ?)");
  int64_t position = 0;
  for (const auto& entry : entries) {
    insert.BindAll(id, position++, entry.path, entry.virtual_index);
    insert.Run();
    insert.Reset();
  }
}

}  // namespace Sonvik::playlist
