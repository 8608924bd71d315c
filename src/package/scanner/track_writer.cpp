#include "package/scanner/track_writer.h"

#include "package/search/search_index.h"

namespace Sonvik::scanner {

TrackWriter::TrackWriter(sqlite3* db)
    : db_(db),
      upsert_track_(db,
                    "INSERT INTO tracks (library_id, path, virtual_index, size, mtime_ns, title,"
                    " album, artist, album_artist, genre, year, disc, track_number, duration_ms,"
                    " container, codec, bitrate, sample_rate, channels, start_ms, end_ms,"
                    " sheet_path, sheet_size, sheet_mtime_ns)"
                    " VALUES (?1, ?2, ?3, ?4, ?5, ?6, ?7, ?8, ?9, ?10, ?11, ?12, ?13, ?14, ?15,"
                    " ?16, ?17, ?18, ?19, ?20, ?21, ?22, ?23, ?24)"
                    " ON CONFLICT (path, virtual_index) DO UPDATE SET"
                    " library_id = ?1, size = ?4, mtime_ns = ?5, title = ?6, album = ?7,"
                    " artist = ?8, album_artist = ?9, genre = ?10, year = ?11, disc = ?12,"
                    " track_number = ?13, duration_ms = ?14, container = ?15, codec = ?16,"
                    " bitrate = ?17, sample_rate = ?18, channels = ?19, start_ms = ?20,"
                    " end_ms = ?21, sheet_path = ?22, sheet_size = ?23, sheet_mtime_ns = ?24"
                    " RETURNING id",
                    true),
      delete_track_(db, "DELETE FROM tracks WHERE id = ?", true),
      upsert_playlist_file_(db,
                            "INSERT INTO playlist_files (library_id, path, size, mtime_ns)"
                            " VALUES (?1, ?2, ?3, ?4) ON CONFLICT (path) DO UPDATE SET"
                            " library_id = ?1, size = ?3, mtime_ns = ?4",
                            true),
      delete_playlist_file_(db, "DELETE FROM playlist_files WHERE id = ?", true) {}

int64_t TrackWriter::UpsertTrack(const TrackRow& row) {
  const AudioTags& t = row.tags;
  upsert_track_.Reset();
  upsert_track_.BindAll(row.library_id, row.path, row.virtual_index, row.size, row.mtime_ns,
                        t.title, t.album, t.artist, t.album_artist, t.genre, t.year, t.disc,
                        t.track_number, t.duration_ms, t.container, t.codec, t.bitrate,
                        t.sample_rate, t.channels, row.start_ms, row.end_ms);
  if (row.sheet_path.empty()) {
    upsert_track_.BindNull(22);
  } else {
    upsert_track_.Bind(22, row.sheet_path);
  }
  upsert_track_.Bind(23, row.sheet_size);
  upsert_track_.Bind(24, row.sheet_mtime_ns);
  upsert_track_.Step();
  const int64_t id = upsert_track_.ColumnInt64(0);
  upsert_track_.Reset();
  search::IndexTrack(db_, id, t.title, t.album, t.artist);
  return id;
}

void TrackWriter::DeleteTrack(int64_t id) {
  search::UnindexTrack(db_, id);
  delete_track_.Reset();
  delete_track_.Bind(1, id);
  delete_track_.Run();
}

void TrackWriter::UpsertPlaylistFile(int64_t library_id, const std::string& path, int64_t size,
                                     int64_t mtime_ns) {
  upsert_playlist_file_.Reset();
  upsert_playlist_file_.BindAll(library_id, path, size, mtime_ns);
  upsert_playlist_file_.Run();
}

void TrackWriter::DeletePlaylistFile(int64_t id) {
  delete_playlist_file_.Reset();
  delete_playlist_file_.Bind(1, id);
  delete_playlist_file_.Run();
}

}  // namespace Sonvik::scanner
