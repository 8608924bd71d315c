// Managing playlists: database and file playlists, smart playlists, and refusals that change
// nothing.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "package/playlist/playlist_editor.h"
#include "unit/playlist/playlist_fixture.h"

namespace Sonvik::playlist::testing {
namespace {

class PlaylistEditorTest : public PlaylistDatabaseTest {
 protected:
  PlaylistOwner Owner(const TestUser& user) { return {user.uid, user.name, user.preference_dir}; }
  static std::vector<int64_t> Ids(const std::vector<PlaylistItem>& items) {
    std::vector<int64_t> ids;
    for (const auto& item : items) ids.push_back(item.track_id);
    return ids;
  }
  static std::string ReadText(const std::string& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }
  template <typename Body>
  static std::string Refusal(Body body) {
    try {
      body();
    } catch (const PlaylistError& e) {
      return e.what();
    }
    return "(accepted)";
  }
};

TEST_F(PlaylistEditorTest, DatabasePlaylistLifecycle) {
  const int64_t a = AddSharedTrack("a"), b = AddSharedTrack("b"), c = AddSharedTrack("c");
  for (const PlaylistOwner& owner : {PlaylistOwner{0, "", ""}, Owner(alice_)}) {
    SCOPED_TRACE(owner.uid);
    PlaylistEditor editor(Db(), owner);
    editor.Create("Mix");
    editor.Add("Mix", {a, b});
    editor.Add("Mix", {c, a});
    EXPECT_EQ(Ids(editor.Show("Mix")), (std::vector<int64_t>{a, b, c, a}));
    editor.Remove("Mix", {4, 2, 2});
    EXPECT_EQ(Ids(editor.Show("Mix")), (std::vector<int64_t>{a, c}));
    auto list = editor.List();
    ASSERT_EQ(list.size(), 1u);
    EXPECT_EQ(list[0].name, "Mix");
    EXPECT_EQ(list[0].tracks, 2);
    EXPECT_FALSE(list[0].smart);
    editor.Delete("Mix");
    EXPECT_TRUE(editor.List().empty());
  }
  // Nothing of alice's went into a file.
  EXPECT_FALSE(std::filesystem::exists(alice_.preference_dir + "/playlists/Mix.m3u8"));
}

TEST_F(PlaylistEditorTest, FilePlaylistKeepsLinesItDoesNotTouch) {
  const int64_t a = AddSharedTrack("a");
  const int64_t v =
      AddTrack(shared_library_,
               {.title = "cue 2", .path = "/var/packages/music/album.flac", .virtual_index = 2});
  PlaylistEditor editor(Db(), Owner(bob_));
  editor.Create("Trip");
  const std::string path = bob_.preference_dir + "/playlists/Trip.m3u8";
  EXPECT_EQ(ReadText(path), "#EXTM3U\n");
  editor.Add("Trip", {a, v});
  EXPECT_EQ(ReadText(path),
            "#EXTM3U\n"
            "#EXTINF:180,Artist - a\n/var/packages/music/a.flac\n"
            "#EXTINF:180,Artist - cue 2\n#SONVIK-VIRTUAL:2\n/var/packages/music/album.flac\n");
  // A line someone added by hand survives an edit of another item.
  WriteFile(path, ReadText(path) + "# my note\n/var/packages/music/a.flac\n");
  editor.Remove("Trip", {2});
  EXPECT_EQ(ReadText(path),
            "#EXTM3U\n"
            "#EXTINF:180,Artist - a\n/var/packages/music/a.flac\n"
            "# my note\n/var/packages/music/a.flac\n");
  EXPECT_EQ(Ids(editor.Show("Trip")), (std::vector<int64_t>{a, a}));
  editor.Delete("Trip");
  EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(PlaylistEditorTest, RefusalsChangeNothing) {
  const int64_t a = AddSharedTrack("a");
  const int64_t private_track = AddTrack(alice_library_, {.title = "private"});
  for (const PlaylistOwner& owner : {PlaylistOwner{0, "", ""}, Owner(alice_), Owner(bob_)}) {
    SCOPED_TRACE(owner.uid);
    PlaylistEditor editor(Db(), owner);
    editor.Create("P");
    editor.Add("P", {a});
    EXPECT_EQ(Refusal([&] { editor.Create("P"); }), "a playlist named \"P\" exists");
    EXPECT_EQ(Refusal([&] { editor.Add("P", {a, 999}); }).substr(0, 18), "there is no track ");
    EXPECT_EQ(Refusal([&] {
                editor.Remove("P", {1, 2});
              }).substr(0, 33),
              "position 2 is not in the playlist");
    EXPECT_EQ(Refusal([&] { editor.Remove("P", {0}); }).substr(0, 10), "position 0");
    EXPECT_EQ(Refusal([&] { editor.Add("Q", {a}); }), "no playlist named \"Q\"");
    EXPECT_EQ(Refusal([&] { editor.Delete("Q"); }), "no playlist named \"Q\"");
    EXPECT_EQ(Refusal([&] { editor.Create("../up"); }),
              "a playlist name cannot be \".\" or \"..\" or hold \"../\"");
    EXPECT_EQ(Refusal([&] { editor.Create(""); }), "a playlist name cannot be empty");
    EXPECT_EQ(Ids(editor.Show("P")), std::vector<int64_t>{a});
  }
  // Only alice sees her personal track; the others may not add it.
  EXPECT_EQ(Refusal([&] { PlaylistEditor(Db(), Owner(alice_)).Add("P", {private_track}); }),
            "(accepted)");
  EXPECT_NE(Refusal([&] { PlaylistEditor(Db(), Owner(bob_)).Add("P", {private_track}); }),
            "(accepted)");
  EXPECT_EQ(Refusal([&] { PlaylistEditor(Db(), Owner(bob_)).Create("a/b"); }),
            "a playlist kept as a file cannot have \"/\" in its name");
}

TEST_F(PlaylistEditorTest, SmartPlaylists) {
  AddTrack(shared_library_, {.title = "x", .genre = "Rock"});
  PlaylistEditor editor(Db(), Owner(bob_));
  SmartPlaylist smart;
  smart.name = "Rock";
  std::string problem;
  smart.rules = {*MakeSmartRule("genre", "is", "rock", &problem)};
  editor.CreateSmart(smart);
  EXPECT_TRUE(std::filesystem::exists(bob_.preference_dir + "/playlists/smart.playlist"));
  EXPECT_EQ(Refusal([&] { editor.CreateSmart(smart); }), "a playlist named \"Rock\" exists");
  EXPECT_EQ(Refusal([&] { editor.Create("Rock"); }), "a playlist named \"Rock\" exists");
  auto list = editor.List();
  ASSERT_EQ(list.size(), 1u);
  EXPECT_TRUE(list[0].smart);
  EXPECT_EQ(list[0].tracks, 1);
  EXPECT_EQ(editor.Show("Rock").size(), 1u);
  EXPECT_NE(Refusal([&] { editor.Add("Rock", {1}); }), "(accepted)");
  editor.Delete("Rock");
  EXPECT_TRUE(editor.List().empty());

  // A damaged rule file is reported, not overwritten.
  WriteFile(bob_.preference_dir + "/playlists/smart.playlist", "{oops");
  EXPECT_NE(Refusal([&] { editor.CreateSmart(smart); }).find("fix or remove the file"),
            std::string::npos);
  EXPECT_EQ(ReadText(bob_.preference_dir + "/playlists/smart.playlist"), "{oops");
}

}  // namespace
}  // namespace Sonvik::playlist::testing
