#include "package/playlist/playlist_editor.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <set>

#include <unistd.h>

#include "package/library/personal_library.h"
#include "package/library/service_account_files.h"
#include "package/library/user_view.h"
#include "package/paths.h"
#include "package/playlist/folder_lock.h"
#include "package/playlist/full_sync.h"
#include "package/playlist/m3u.h"
#include "package/playlist/playlist_files.h"
#include "package/playlist/playlist_name.h"
#include "package/playlist/playlist_pages.h"
#include "package/playlist/playlist_store.h"
#include "package/playlist/smart_playlist_store.h"
#include "package/playlist/smart_query.h"
#include "package/playlist/track_objects.h"
#include "package/sqlite/statement.h"
#include "package/sqlite/transaction.h"
#include "package/util/atomic_file.h"

namespace Sonvik::playlist {
namespace {

constexpr size_t kMaxItems = 100000;

std::string Quoted(const std::string& name) { return "\"" + name + "\""; }

struct TrackInfo {
  PlaylistEntry entry;
  int duration_s = -1;
  std::string display;
};

// The tracks behind `ids` as user `uid` sees them, in the same order; refuses unknown ids.
std::vector<TrackInfo> LookUpTracks(sqlite3* db, const std::vector<int64_t>& ids, unsigned uid) {
  sqlite::Statement select(db,
                           "SELECT t.path, t.virtual_index, t.duration_ms, t.artist, t.title"
                           " FROM tracks t WHERE t.id = ? AND " +
                               library::UserViewCondition(uid, "t.library_id"));
  std::vector<TrackInfo> tracks;
  for (int64_t id : ids) {
    select.Bind(1, id);
    if (!select.Step()) {
      throw PlaylistError("there is no track " + std::to_string(id) +
                          (uid == 0 ? " in the shared library" : " in this user's library") +
                          "; `sonvik search` shows track ids");
    }
    TrackInfo info;
    info.entry = {std::string(select.ColumnText(0)), select.ColumnInt(1)};
    info.duration_s = select.ColumnInt(2) / 1000;
    std::string artist(select.ColumnText(3));
    std::string title(select.ColumnText(4));
    info.display = artist.empty() ? title : artist + " - " + title;
    tracks.push_back(std::move(info));
    select.Reset();
  }
  return tracks;
}

std::vector<int64_t> SortedUniquePositions(const std::vector<int64_t>& positions, size_t size) {
  std::set<int64_t> unique(positions.begin(), positions.end());
  for (int64_t position : unique) {
    if (position < 1 || static_cast<size_t>(position) > size) {
      throw PlaylistError("position " + std::to_string(position) +
                          " is not in the playlist (1 to " + std::to_string(size) +
                          "); `sonvik playlist show` numbers the items");
    }
  }
  return {unique.begin(), unique.end()};
}

void RemoveAt(std::vector<PlaylistEntry>& entries, const std::vector<int64_t>& sorted_positions) {
  for (auto it = sorted_positions.rbegin(); it != sorted_positions.rend(); ++it) {
    entries.erase(entries.begin() + (*it - 1));
  }
}

}  // namespace

PlaylistEditor::PlaylistEditor(sqlite3* db, PlaylistOwner owner)
    : db_(db),
      owner_(std::move(owner)),
      normal_in_database_(owner_.uid == 0 || IsPersonalLibEnabled(owner_.user_name) != 0) {
  if (owner_.uid != 0 && owner_.preference_dir.empty()) {
    throw PlaylistError("user " + owner_.user_name + " has no preference folder");
  }
}

bool PlaylistEditor::NormalInDatabase() const { return normal_in_database_; }

std::string PlaylistEditor::PlaylistFolder() const {
  return PersonalPlaylistFolder(owner_.preference_dir);
}

std::string PlaylistEditor::SmartFilePath() const {
  return owner_.uid == 0 ? SharedSmartPlaylistPath()
                         : PersonalSmartPlaylistPath(owner_.preference_dir);
}

void PlaylistEditor::CheckNewName(const std::string& name) {
  const char* problem = PlaylistNameProblem(name);
  if (*problem != '\0') throw PlaylistError(problem);
  if (!NormalInDatabase() && !IsValidPlaylistFileName(name)) {
    throw PlaylistError("a playlist kept as a file cannot have \"/\" in its name");
  }
  for (const auto& playlist : List()) {
    if (playlist.name == name) throw PlaylistError("a playlist named " + Quoted(name) + " exists");
  }
}

void PlaylistEditor::Create(const std::string& name) {
  if (NormalInDatabase()) {
    FullSyncScope durable(db_);
    sqlite::Transaction transaction(db_);
    CheckNewName(name);
    InsertStoredPlaylist(db_, owner_.uid, name);
    transaction.Commit();
    return;
  }
  FolderLock lock(PlaylistFolder());
  library::GiveToServiceAccount(PlaylistFolder());
  CheckNewName(name);
  const std::string path = PlaylistFolder() + "/" + name + ".m3u8";
  if (!util::WriteFileAtomically(path, FormatM3u8({}))) {
    throw PlaylistError("cannot write " + path + ": " + std::strerror(errno));
  }
  library::GiveToServiceAccount(path);
}

namespace {

// One playlist file of a preference folder, read for an edit.
struct LoadedFile {
  std::string path;
  M3uDocument document;
};

LoadedFile LoadPlaylistFile(const std::string& folder, const std::string& name) {
  auto files = ListPlaylistFiles(folder);
  if (!files) throw PlaylistError("cannot list " + folder);
  for (const auto& file : *files) {
    if (file.name != name) continue;
    const std::string path = folder + "/" + file.file_name;
    auto text = ReadSmallFile(path, kMaxPlaylistFileBytes);
    if (!text) throw PlaylistError("cannot read " + path);
    return {path, ParseM3uDocument(*text)};
  }
  throw PlaylistError("no playlist named " + Quoted(name));
}

// Writes the playlist as <name>.m3u8 (the form the listing prefers) and drops an older .m3u.
void SavePlaylistFile(const std::string& folder, const std::string& name, const LoadedFile& file) {
  const std::string target = folder + "/" + name + ".m3u8";
  if (!util::WriteFileAtomically(target, file.document.Text())) {
    throw PlaylistError("cannot write " + target + ": " + std::strerror(errno));
  }
  library::GiveToServiceAccount(target);
  if (file.path != target) unlink(file.path.c_str());
}

StoredPlaylist EditableStoredPlaylist(sqlite3* db, unsigned owner_uid, const std::string& name) {
  auto playlist = FindStoredPlaylist(db, owner_uid, name);
  if (!playlist) throw PlaylistError("no playlist named " + Quoted(name));
  if (playlist->imported) {
    throw PlaylistError(Quoted(name) +
                        " comes from a playlist file in a music folder; edit that file");
  }
  return *playlist;
}

}  // namespace

void PlaylistEditor::Add(const std::string& name, const std::vector<int64_t>& track_ids) {
  if (NormalInDatabase()) {
    FullSyncScope durable(db_);
    sqlite::Transaction transaction(db_);
    const StoredPlaylist playlist = EditableStoredPlaylist(db_, owner_.uid, name);
    std::vector<PlaylistEntry> entries = ReadStoredEntries(db_, playlist.id);
    for (auto& track : LookUpTracks(db_, track_ids, owner_.uid)) entries.push_back(track.entry);
    if (entries.size() > kMaxItems) throw PlaylistError("a playlist holds at most 100000 items");
    WriteStoredEntries(db_, playlist.id, entries);
    transaction.Commit();
    return;
  }
  FolderLock lock(PlaylistFolder());
  LoadedFile file = LoadPlaylistFile(PlaylistFolder(), name);
  for (auto& track : LookUpTracks(db_, track_ids, owner_.uid)) {
    if (track.entry.path.find_first_of("\r\n") != std::string::npos) {
      throw PlaylistError("track " + track.display + " has a line break in its file name");
    }
    M3uItem item{std::move(track.entry), track.duration_s, std::move(track.display)};
    file.document.blocks.push_back({item.entry, FormatM3uItem(item)});
  }
  if (file.document.blocks.size() > kMaxItems) {
    throw PlaylistError("a playlist holds at most 100000 items");
  }
  SavePlaylistFile(PlaylistFolder(), name, file);
}

void PlaylistEditor::Remove(const std::string& name, const std::vector<int64_t>& positions) {
  if (NormalInDatabase()) {
    FullSyncScope durable(db_);
    sqlite::Transaction transaction(db_);
    const StoredPlaylist playlist = EditableStoredPlaylist(db_, owner_.uid, name);
    std::vector<PlaylistEntry> entries = ReadStoredEntries(db_, playlist.id);
    RemoveAt(entries, SortedUniquePositions(positions, entries.size()));
    WriteStoredEntries(db_, playlist.id, entries);
    transaction.Commit();
    return;
  }
  FolderLock lock(PlaylistFolder());
  LoadedFile file = LoadPlaylistFile(PlaylistFolder(), name);
  auto& blocks = file.document.blocks;
  const auto sorted = SortedUniquePositions(positions, blocks.size());
  for (auto it = sorted.rbegin(); it != sorted.rend(); ++it)
    blocks.erase(blocks.begin() + (*it - 1));
  SavePlaylistFile(PlaylistFolder(), name, file);
}

void PlaylistEditor::Delete(const std::string& name) {
  if (NormalInDatabase()) {
    FullSyncScope durable(db_);
    sqlite::Transaction transaction(db_);
    if (auto playlist = FindStoredPlaylist(db_, owner_.uid, name)) {
      if (playlist->imported) {
        throw PlaylistError(Quoted(name) +
                            " comes from a playlist file in a music folder; delete that file and"
                            " scan again");
      }
      DeleteStoredPlaylist(db_, playlist->id);
      transaction.Commit();
      return;
    }
  } else {
    FolderLock lock(PlaylistFolder());
    auto files = ListPlaylistFiles(PlaylistFolder());
    if (files) {
      for (const auto& file : *files) {
        if (file.name != name) continue;
        // Both forms of the name go, so that an older .m3u does not take its place.
        for (const char* extension : {".m3u8", ".m3u"}) {
          const std::string path = PlaylistFolder() + "/" + name + extension;
          if (unlink(path.c_str()) != 0 && errno != ENOENT) {
            throw PlaylistError("cannot delete " + path + ": " + std::strerror(errno));
          }
        }
        return;
      }
    }
  }
  // Not a normal playlist: perhaps a smart one.
  const std::string path = SmartFilePath();
  FolderLock lock(path.substr(0, path.rfind('/')));
  std::string problem;
  auto file = LoadSmartPlaylists(path, &problem);
  if (!file) throw PlaylistError(problem);
  auto& playlists = file->playlists;
  auto it = std::find_if(playlists.begin(), playlists.end(),
                         [&](const SmartPlaylist& p) { return p.name == name; });
  if (it == playlists.end()) throw PlaylistError("no playlist named " + Quoted(name));
  playlists.erase(it);
  SaveSmartPlaylists(path, playlists);
}

void PlaylistEditor::CreateSmart(const SmartPlaylist& playlist) {
  const std::string path = SmartFilePath();
  const std::string folder = path.substr(0, path.rfind('/'));
  FolderLock lock(folder);
  if (owner_.uid != 0) library::GiveToServiceAccount(folder);
  std::string problem;
  auto file = LoadSmartPlaylists(path, &problem);
  if (!file) throw PlaylistError(problem + "; fix or remove the file first");
  CheckNewName(playlist.name);
  file->playlists.push_back(playlist);
  SaveSmartPlaylists(path, file->playlists);
  library::GiveToServiceAccount(path);
}

std::vector<PlaylistSummary> PlaylistEditor::List() {
  std::vector<PlaylistSummary> summaries;
  Json::Value ignored(Json::arrayValue);
  if (NormalInDatabase()) {
    for (const auto& playlist : ListStoredPlaylists(db_, owner_.uid)) {
      auto count = PageStoredPlaylist(db_, owner_.uid, playlist.id, owner_.uid, 0, 0, {}, ignored);
      summaries.push_back({playlist.name, false, count.value_or(0),
                           playlist.imported ? "imported playlist file" : "library database"});
    }
  } else if (auto files = ListPlaylistFiles(PlaylistFolder())) {
    for (const auto& file : *files) {
      auto count =
          PagePlaylistFile(db_, owner_.preference_dir, file.name, owner_.uid, 0, 0, {}, ignored);
      summaries.push_back(
          {file.name, false, count.value_or(0), PlaylistFolder() + "/" + file.file_name});
    }
  }
  std::string problem;
  if (auto file = LoadSmartPlaylists(SmartFilePath(), &problem)) {
    for (const auto& playlist : file->playlists) {
      int64_t count = EvaluateSmartPlaylist(db_, playlist, owner_.uid, 0, 0, {}, ignored);
      summaries.push_back({playlist.name, true, count, SmartFilePath()});
    }
  } else {
    throw PlaylistError(problem);
  }
  return summaries;
}

std::vector<PlaylistItem> PlaylistEditor::Show(const std::string& name) {
  const TrackObjectParts parts{true, true};
  std::vector<PlaylistEntry> entries;
  bool found = false;
  if (NormalInDatabase()) {
    if (auto playlist = FindStoredPlaylist(db_, owner_.uid, name)) {
      entries = ReadStoredEntries(db_, playlist->id);
      found = true;
    }
  } else if (auto files = ListPlaylistFiles(PlaylistFolder())) {
    for (const auto& file : *files) {
      if (file.name != name) continue;
      auto text = ReadSmallFile(PlaylistFolder() + "/" + file.file_name, kMaxPlaylistFileBytes);
      if (!text) throw PlaylistError("cannot read " + PlaylistFolder() + "/" + file.file_name);
      entries = ParseM3u(*text);
      found = true;
    }
  }
  std::vector<PlaylistItem> items;
  if (found) {
    const std::vector<int64_t> ids = ResolveEntries(db_, entries, owner_.uid);
    sqlite::Statement select(
        db_, std::string("SELECT ") + kTrackObjectColumns + " FROM tracks t WHERE t.id = ?");
    for (size_t i = 0; i < entries.size(); ++i) {
      PlaylistItem item{static_cast<int64_t>(i + 1), ids[i], entries[i].path, Json::Value()};
      if (ids[i] != 0) {
        select.Bind(1, ids[i]);
        if (select.Step()) item.track = TrackObject(select, parts);
        select.Reset();
      }
      items.push_back(std::move(item));
    }
    return items;
  }
  std::string problem;
  auto file = LoadSmartPlaylists(SmartFilePath(), &problem);
  if (!file) throw PlaylistError(problem);
  for (const auto& playlist : file->playlists) {
    if (playlist.name != name) continue;
    Json::Value tracks(Json::arrayValue);
    EvaluateSmartPlaylist(db_, playlist, owner_.uid, 0, kMaxSmartLimit, parts, tracks);
    int64_t position = 0;
    for (const Json::Value& track : tracks) {
      const int64_t id = std::stoll(track["id"].asString().substr(6));
      items.push_back({++position, id, "", track});
    }
    return items;
  }
  throw PlaylistError("no playlist named " + Quoted(name));
}

}  // namespace Sonvik::playlist
