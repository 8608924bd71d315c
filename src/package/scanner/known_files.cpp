#include "package/scanner/known_files.h"

#include "package/sqlite/statement.h"

namespace Sonvik::scanner {

void KnownFiles::Load(sqlite3* db) {
  tracks_.clear();
  playlist_files_.clear();
  track_count_ = 0;
  sqlite::Statement tracks(db,
                           "SELECT path, id, library_id, virtual_index, size, mtime_ns,"
                           " coalesce(sheet_path, ''), sheet_size, sheet_mtime_ns FROM tracks");
  while (tracks.Step()) {
    KnownTrack track;
    track.id = tracks.ColumnInt64(1);
    track.library_id = tracks.ColumnInt64(2);
    track.virtual_index = tracks.ColumnInt(3);
    track.size = tracks.ColumnInt64(4);
    track.mtime_ns = tracks.ColumnInt64(5);
    track.sheet_path = tracks.ColumnText(6);
    track.sheet_size = tracks.ColumnInt64(7);
    track.sheet_mtime_ns = tracks.ColumnInt64(8);
    tracks_[std::string(tracks.ColumnText(0))].push_back(std::move(track));
    ++track_count_;
  }
  sqlite::Statement playlists(db,
                              "SELECT path, id, library_id, size, mtime_ns FROM playlist_files");
  while (playlists.Step()) {
    KnownPlaylistFile file;
    file.id = playlists.ColumnInt64(1);
    file.library_id = playlists.ColumnInt64(2);
    file.size = playlists.ColumnInt64(3);
    file.mtime_ns = playlists.ColumnInt64(4);
    playlist_files_.emplace(std::string(playlists.ColumnText(0)), file);
  }
}

std::vector<KnownTrack>* KnownFiles::Tracks(const std::string& path) {
  auto it = tracks_.find(path);
  return it != tracks_.end() ? &it->second : nullptr;
}

KnownPlaylistFile* KnownFiles::PlaylistFile(const std::string& path) {
  auto it = playlist_files_.find(path);
  return it != playlist_files_.end() ? &it->second : nullptr;
}

namespace {
bool IsBelow(const std::string& path, const std::string& prefix) {
  return path.size() > prefix.size() && path.compare(0, prefix.size(), prefix) == 0 &&
         (path[prefix.size()] == '/' || prefix.ends_with('/'));
}
}  // namespace

void KnownFiles::MarkSeenBelow(const std::string& prefix) {
  // Rare (an unreadable folder), so a pass over everything is fine.
  for (auto& [path, rows] : tracks_) {
    if (IsBelow(path, prefix)) {
      for (KnownTrack& row : rows) row.seen = true;
    }
  }
  for (auto& [path, file] : playlist_files_) {
    if (IsBelow(path, prefix)) file.seen = true;
  }
}

std::vector<int64_t> KnownFiles::UnseenTrackIds() const {
  std::vector<int64_t> ids;
  for (const auto& [path, rows] : tracks_) {
    for (const KnownTrack& row : rows) {
      if (!row.seen) ids.push_back(row.id);
    }
  }
  return ids;
}

std::vector<int64_t> KnownFiles::UnseenPlaylistFileIds() const {
  std::vector<int64_t> ids;
  for (const auto& [path, file] : playlist_files_) {
    if (!file.seen) ids.push_back(file.id);
  }
  return ids;
}

}  // namespace Sonvik::scanner
