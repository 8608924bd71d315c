#include "playlist_fixture.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>

#include "e2e/support/command.h"
#include "package/library/library_database.h"
#include "package/paths.h"
#include "package/playlist/m3u.h"
#include "package/playlist/playlist_store.h"
#include "package/playlist/smart_playlist_store.h"
#include "package/sqlite/statement.h"
#include "package/sqlite/transaction.h"

namespace Sonvik::bench {
namespace {

namespace fs = std::filesystem;

constexpr const char* kWords[] = {"Sunny", "Night", "Drive", "Road",   "Morning", "Chill",
                                  "Rock",  "Jazz",  "Party", "Dinner", "Summer",  "Rain",
                                  "Focus", "Gym",   "Blue",  "Gold",   "Classic", "Indie"};
constexpr const char* kGenres[] = {"Rock", "Jazz", "Pop",   "Blues",
                                   "Soul", "Folk", "Metal", "Electronic"};

std::string PlaylistNameFor(int index) {
  const size_t words = std::size(kWords);
  return std::string(kWords[index % words]) + " " + kWords[(index / words) % words] + " " +
         std::to_string(index);
}

}  // namespace

BenchLibrary BuildBenchLibrary(int tracks, int playlists, int per_playlist,
                               const std::string& preference_dir) {
  BenchLibrary library;
  library.music_folder = "/var/packages/bench-music";
  fs::remove_all(library.music_folder);
  fs::create_directories(library.music_folder);
  const std::string sample = library.music_folder + "/sample.wav";
  auto made = e2e::RunProgram("/usr/bin/ffmpeg", {"-loglevel", "error", "-f", "lavfi", "-i",
                                                  "sine=frequency=440:duration=0.2", sample});
  if (made.exit_code != 0) throw std::runtime_error("ffmpeg failed: " + made.err);

  sqlite::Database db = library::OpenLibraryDatabase(paths::kLibraryDb);
  {
    sqlite::Transaction transaction(db.get());
    sqlite::Statement folder(db.get(), "INSERT INTO libraries (path) VALUES (?)");
    folder.Bind(1, library.music_folder);
    folder.Run();
    const int64_t library_id = db.LastInsertRowid();
    sqlite::Statement insert(db.get(),
                             "INSERT INTO tracks (library_id, path, title, album, artist, genre,"
                             " year, duration_ms, container, codec) VALUES (?, ?, ?, ?, ?, ?, ?,"
                             " 200, 'wav', 'pcm_s16le')");
    for (int i = 0; i < tracks; ++i) {
      const std::string relative = "t" + std::to_string(i) + ".wav";
      fs::create_hard_link(sample, library.music_folder + "/" + relative);
      library.track_paths.push_back(relative);
      insert.BindAll(library_id, library.music_folder + "/" + relative,
                     "Title " + std::to_string(i), "Album " + std::to_string(i / 12),
                     "Artist " + std::to_string(i / 120), kGenres[i % std::size(kGenres)],
                     1960 + i % 60);
      insert.Run();
      insert.Reset();
    }
    transaction.Commit();
  }
  fs::remove(sample);

  // 70% shared normal, 20% own normal (files: the personal library is off), 5% each smart.
  std::mt19937 random(7);
  std::vector<playlist::SmartPlaylist> shared_smart, own_smart;
  const std::string own_folder = preference_dir + "/playlists";
  fs::create_directories(own_folder);
  sqlite::Transaction transaction(db.get());
  for (int p = 0; p < playlists; ++p) {
    PlaylistName entry{PlaylistNameFor(p), PlaylistName::kSharedNormal};
    const int slot = p % 20;
    if (slot == 0) {
      entry.source = PlaylistName::kSharedSmart;
    } else if (slot == 1) {
      entry.source = PlaylistName::kOwnSmart;
    } else if (slot < 6) {
      entry.source = PlaylistName::kOwnNormal;
    }
    library.playlists.push_back(entry);
    if (entry.source == PlaylistName::kSharedSmart || entry.source == PlaylistName::kOwnSmart) {
      playlist::SmartPlaylist smart;
      smart.name = entry.name;
      std::string problem;
      smart.rules = {
          *playlist::MakeSmartRule("genre", "is", kGenres[p % std::size(kGenres)], &problem),
          *playlist::MakeSmartRule("year", "greater", std::to_string(1960 + p % 30), &problem)};
      smart.limit = per_playlist;
      (entry.source == PlaylistName::kSharedSmart ? shared_smart : own_smart).push_back(smart);
      library.normal_items.emplace_back();
      continue;
    }
    std::vector<int> items;
    std::vector<playlist::PlaylistEntry> entries;
    std::vector<playlist::M3uItem> lines;
    for (int i = 0; i < per_playlist; ++i) {
      const int track = static_cast<int>(random() % static_cast<unsigned>(tracks));
      items.push_back(track);
      const std::string path = library.music_folder + "/" + library.track_paths[track];
      entries.push_back({path, 0});
      lines.push_back({{path, 0}, 0, "Artist - Title"});
    }
    library.normal_items.push_back(items);
    if (entry.source == PlaylistName::kSharedNormal) {
      playlist::WriteStoredEntries(
          db.get(), playlist::InsertStoredPlaylist(db.get(), 0, entry.name), entries);
    } else {
      std::ofstream(own_folder + "/" + entry.name + ".m3u8") << playlist::FormatM3u8(lines);
    }
  }
  transaction.Commit();
  playlist::SaveSmartPlaylists(playlist::SharedSmartPlaylistPath(), shared_smart);
  playlist::SaveSmartPlaylists(playlist::PersonalSmartPlaylistPath(preference_dir), own_smart);
  return library;
}

}  // namespace Sonvik::bench
