// The playlist library's plain functions and track pages, against a real database and real
// preference folders.
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "package/playlist/playlist_editor.h"
#include "package/playlist/playlist_files.h"
#include "package/playlist/playlist_library.h"
#include "unit/playlist/playlist_fixture.h"

namespace Sonvik::playlist::testing {
namespace {

using webapi::playlist::PlaylistLibrary;

std::vector<std::pair<unsigned long, std::string>> Drain(PlaylistListRecord* list) {
  std::vector<std::pair<unsigned long, std::string>> records;
  for (auto* record = list; record != nullptr; record = record->next) {
    records.emplace_back(record->id, record->name);
  }
  QUORPlayListFree(list);
  return records;
}

class PlaylistLibraryTest : public PlaylistDatabaseTest {};

TEST_F(PlaylistLibraryTest, DatabaseListsPerOwner) {
  PlaylistEditor shared(Db(), {0, "", ""});
  shared.Create("b shared");
  shared.Create("A shared");
  PlaylistEditor(Db(), {kAliceUid, "alice", alice_.preference_dir}).Create("mine");

  PlaylistListRecord* list = nullptr;
  ASSERT_EQ(QUORPlaylistListAll("shared", 0, &list, 0, 0, 0), 2);
  auto records = Drain(list);
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0].second, "A shared");  // by name, case folded
  EXPECT_EQ(records[1].second, "b shared");
  EXPECT_GT(records[0].first, 0u);

  ASSERT_EQ(QUORPlaylistListAll("personal", kAliceUid, &list, 0, 0, 0), 1);
  EXPECT_EQ(Drain(list)[0].second, "mine");
  ASSERT_EQ(QUORPlaylistListAll("personal", kBobUid, &list, 0, 0, 0), 0);
  EXPECT_EQ(list, nullptr);
  EXPECT_LT(QUORPlaylistListAll("personal", 0, &list, 0, 0, 0), 0);
  EXPECT_LT(QUORPlaylistListAll("public", 0, &list, 0, 0, 0), 0);
}

TEST_F(PlaylistLibraryTest, PreferenceFolderListing) {
  const std::string folder = bob_.preference_dir + "/playlists";
  PlaylistListRecord* list = nullptr;
  // No folder yet: no playlists.
  ASSERT_EQ(QUORPersonalPlaylistListAll(bob_.preference_dir.c_str(), &list, 0, 0), 0);
  WriteFile(folder + "/Zed.m3u", "");
  WriteFile(folder + "/Both.m3u", "old\n");
  WriteFile(folder + "/Both.m3u8", "new\n");
  WriteFile(folder + "/notes.txt", "");
  WriteFile(folder + "/smart.playlist", "{\"playlists\": []}");
  WriteFile(folder + "/Bad\x01name.m3u8", "");
  WriteFile(folder + "/Half.m3u8.tmp.123456", "");
  ASSERT_EQ(symlink("/etc/passwd", (folder + "/Link.m3u8").c_str()), 0);
  ASSERT_EQ(QUORPersonalPlaylistListAll(bob_.preference_dir.c_str(), &list, 0, 0), 2);
  auto records = Drain(list);
  EXPECT_EQ(records[0], std::make_pair(PlaylistFileNumber("Both"), std::string("Both")));
  EXPECT_EQ(records[1].second, "Zed");

  auto files = ListPlaylistFiles(folder);
  ASSERT_TRUE(files);
  EXPECT_EQ((*files)[0].file_name, "Both.m3u8");
  EXPECT_EQ(FindPlaylistFile(*files, "Zed")->name, "Zed");
  EXPECT_EQ(FindPlaylistFile(*files, std::to_string(PlaylistFileNumber("Zed")))->name, "Zed");
  EXPECT_FALSE(FindPlaylistFile(*files, "Link"));

  std::filesystem::remove_all(folder);
  WriteFile(folder, "a file");
  EXPECT_LT(QUORPersonalPlaylistListAll(bob_.preference_dir.c_str(), &list, 0, 0), 0);
  EXPECT_LT(QUORPersonalPlaylistListAll("", &list, 0, 0), 0);
}

TEST_F(PlaylistLibraryTest, SongIds) {
  std::string number;
  EXPECT_EQ(QUORAudioWebapiUtilsParseSongId("track_42", &number), 0);
  EXPECT_EQ(number, "42");
  EXPECT_EQ(QUORAudioWebapiUtilsParseSongId("track_2147483647", &number), 0);
  for (const char* text : {"track_", "track_0", "track_042", "track_-1", "track_4x",
                           "track_2147483648", "Track_1", "42", "track_ 1", " track_1"}) {
    EXPECT_NE(QUORAudioWebapiUtilsParseSongId(text, &number), 0) << text;
  }
}

TEST_F(PlaylistLibraryTest, PagesOnlyShowWhatTheUserMaySee) {
  const int64_t shared_track = AddSharedTrack("Shared");
  const int64_t alice_track = AddTrack(alice_library_, {.title = "Alice's"});
  PlaylistEditor editor(Db(), {kAliceUid, "alice", alice_.preference_dir});
  editor.Create("Mix");
  editor.Add("Mix", {alice_track, shared_track});
  PlaylistListRecord* list = nullptr;
  QUORPlaylistListAll("personal", kAliceUid, &list, 0, 0, 0);
  const std::string id = std::to_string(Drain(list)[0].first);

  QUOR::APIRequest request = Request(alice_);
  PlaylistLibrary library(&request);
  Json::Value tracks(Json::arrayValue);
  ASSERT_EQ(library.GetTrackFromNormalPlaylist(id, PLAYLIST_PERSONAL, 0, 10, tracks), 2);
  ASSERT_EQ(tracks.size(), 2u);
  EXPECT_EQ(tracks[0]["id"].asString(), "track_" + std::to_string(alice_track));
  EXPECT_EQ(tracks[0]["title"].asString(), "Alice's");
  EXPECT_FALSE(tracks[0].isMember("additional"));

  // With her personal library off the items in it are out of her view (and her normal
  // playlists are files, so the database playlist is not hers to read any more).
  sqlite3_exec(Db(), "UPDATE libraries SET enabled = 0 WHERE owner_uid = 1025", nullptr, nullptr,
               nullptr);
  tracks = Json::Value(Json::arrayValue);
  EXPECT_LT(library.GetTrackFromNormalPlaylist(id, PLAYLIST_PERSONAL, 0, 10, tracks), 0);

  // The additional parts on request.
  PlaylistEditor shared(Db(), {0, "", ""});
  shared.Create("Shared");
  shared.Add("Shared", {shared_track, shared_track});
  QUORPlaylistListAll("shared", 0, &list, 0, 0, 0);
  const std::string shared_id = std::to_string(Drain(list)[0].first);
  library.SetAdditionalSongTag(true);
  library.SetAdditionalSongAudio(true);
  tracks = Json::Value(Json::arrayValue);
  ASSERT_EQ(library.GetTrackFromNormalPlaylist(shared_id, PLAYLIST_SHARED, 1, 10, tracks), 2);
  ASSERT_EQ(tracks.size(), 1u);
  EXPECT_EQ(tracks[0]["additional"]["song_tag"]["album"].asString(), "Album");
  EXPECT_EQ(tracks[0]["additional"]["song_audio"]["codec"].asString(), "flac");
  EXPECT_EQ(tracks[0]["additional"]["song_audio"]["duration"].asInt(), 180);

  // Shared ids are numbers as the list writes them.
  for (const std::string& bad :
       {"0" + shared_id, shared_id + " ", std::string("Shared"), std::string("")}) {
    tracks = Json::Value(Json::arrayValue);
    EXPECT_LT(library.GetTrackFromNormalPlaylist(bad, PLAYLIST_SHARED, 0, 10, tracks), 0) << bad;
  }
  EXPECT_LT(library.GetTrackFromNormalPlaylist(shared_id, PLAYLIST_SHARED, -1, 10, tracks), 0);
}

TEST_F(PlaylistLibraryTest, PlaylistFilesSurviveMissingTracks) {
  const int64_t kept = AddSharedTrack("Kept");
  PlaylistEditor editor(Db(), {kBobUid, "bob", bob_.preference_dir});
  editor.Create("List");
  editor.Add("List", {kept, AddSharedTrack("Gone"), kept});
  sqlite3_exec(Db(), "DELETE FROM tracks WHERE title = 'Gone'", nullptr, nullptr, nullptr);

  QUOR::APIRequest request = Request(bob_);
  PlaylistLibrary library(&request);
  Json::Value tracks(Json::arrayValue);
  EXPECT_EQ(library.GetTrackFromNormalPlaylist("List", PLAYLIST_PERSONAL, 0, 10, tracks), 2);
  EXPECT_EQ(tracks.size(), 2u);
  // The editor still shows the missing item, so that it can be removed by position.
  auto items = editor.Show("List");
  ASSERT_EQ(items.size(), 3u);
  EXPECT_EQ(items[1].track_id, 0);
  EXPECT_EQ(items[1].path, "/var/packages/music/Gone.flac");
  editor.Remove("List", {2});
  EXPECT_EQ(editor.Show("List").size(), 2u);
}

TEST_F(PlaylistLibraryTest, SmartPlaylistNamesAndTracks) {
  AddTrack(shared_library_, {.title = "A", .genre = "Jazz"});
  WriteFile(paths::kSharedSmartPlaylists, R"({"playlists": [
      {"name": "Jazz", "rules": [{"field": "genre", "operator": "is", "value": "jazz"}]},
      {"name": "Broken", "rules": [{"field": "genre", "operator": "greater", "value": 1}]},
      {"name": "All", "rules": [{"field": "year", "operator": "greater", "value": -1}]}]})");
  int count = -1;
  EXPECT_EQ(QuorAudioUtils::SmartPLSEnum(0, 0, count, nullptr),
            (std::vector<std::string>{"Jazz", "All"}));
  EXPECT_EQ(count, 2);
  const std::string personal = bob_.preference_dir + "/playlists/smart.playlist";
  EXPECT_TRUE(QuorAudioUtils::SmartPLSEnum(0, 0, count, personal.c_str()).empty());
  EXPECT_EQ(count, 0);
  WriteFile(personal, "{broken");
  EXPECT_TRUE(QuorAudioUtils::SmartPLSEnum(0, 0, count, personal.c_str()).empty());

  QUOR::APIRequest request = Request(bob_);
  PlaylistLibrary library(&request);
  Json::Value tracks(Json::arrayValue);
  EXPECT_EQ(library.GetTrackFromSmartPlaylist("Jazz", PLAYLIST_SHARED, "all", 0, 10, tracks), 1);
  EXPECT_LT(library.GetTrackFromSmartPlaylist("Jazz", PLAYLIST_SHARED, "some", 0, 10, tracks), 0);
  EXPECT_LT(library.GetTrackFromSmartPlaylist("jazz", PLAYLIST_SHARED, "all", 0, 10, tracks), 0);
  EXPECT_LT(library.GetTrackFromSmartPlaylist("Jazz", PLAYLIST_PERSONAL, "all", 0, 10, tracks), 0);

  // Parsed files are kept per worker; a changed file is read again.
  WriteFile(paths::kSharedSmartPlaylists, R"({"playlists": [
      {"name": "Blues", "rules": [{"field": "genre", "operator": "is", "value": "blues"}]}]})");
  EXPECT_EQ(QuorAudioUtils::SmartPLSEnum(0, 0, count, nullptr), std::vector<std::string>{"Blues"});
  std::filesystem::remove(paths::kSharedSmartPlaylists);
  EXPECT_TRUE(QuorAudioUtils::SmartPLSEnum(0, 0, count, nullptr).empty());
}

}  // namespace
}  // namespace Sonvik::playlist::testing
