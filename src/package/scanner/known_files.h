#pragma once
// What the library database held when a scan began: every track row and playlist file by path,
// with the size and mtime recorded for it. The scan marks what it finds again; what is left
// unmarked at the end has vanished and is removed.
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

struct sqlite3;

namespace Sonvik::scanner {

struct KnownTrack {
  int64_t id = 0;
  int64_t library_id = 0;
  int virtual_index = 0;
  int64_t size = 0;
  int64_t mtime_ns = 0;
  std::string sheet_path;  // empty for a plain file
  int64_t sheet_size = 0;
  int64_t sheet_mtime_ns = 0;
  bool seen = false;
};

struct KnownPlaylistFile {
  int64_t id = 0;
  int64_t library_id = 0;
  int64_t size = 0;
  int64_t mtime_ns = 0;
  bool seen = false;
};

class KnownFiles {
 public:
  // Reads every track and playlist file row. Throws sqlite::Error.
  void Load(sqlite3* db);

  // The rows recorded for an audio file path (one for a plain file, one per entry for a file
  // split by a CUE sheet); null when the path is new.
  std::vector<KnownTrack>* Tracks(const std::string& path);
  KnownPlaylistFile* PlaylistFile(const std::string& path);

  // Marks everything below folder `prefix` (a path without trailing slash) as found, so that a
  // folder that could not be read keeps its tracks.
  void MarkSeenBelow(const std::string& prefix);

  // Ids of the rows not marked, i.e. gone from disk (or from every enabled folder).
  std::vector<int64_t> UnseenTrackIds() const;
  std::vector<int64_t> UnseenPlaylistFileIds() const;
  size_t track_count() const { return track_count_; }

 private:
  std::unordered_map<std::string, std::vector<KnownTrack>> tracks_;
  std::unordered_map<std::string, KnownPlaylistFile> playlist_files_;
  size_t track_count_ = 0;
};

}  // namespace Sonvik::scanner
