#pragma once
// The benchmark's library: tracks of hard-linked copies of one short WAV file, and 1,000
// playlists of 100 tracks spread over the four sources that search_playlist walks.
#include <string>
#include <vector>

namespace Sonvik::bench {

struct PlaylistName {
  std::string name;
  enum Source { kOwnNormal, kOwnSmart, kSharedNormal, kSharedSmart } source;
};

struct BenchLibrary {
  std::string music_folder;              // the track files
  std::vector<std::string> track_paths;  // relative to music_folder
  std::vector<PlaylistName> playlists;
  std::vector<std::vector<int>> normal_items;  // per playlist, indexes into track_paths
};

// Writes the files, the library database rows, the shared playlists, the user's playlist files
// and both smart playlist files. `preference_dir` is the user's (personal library off).
BenchLibrary BuildBenchLibrary(int tracks, int playlists, int per_playlist,
                               const std::string& preference_dir);

}  // namespace Sonvik::bench
