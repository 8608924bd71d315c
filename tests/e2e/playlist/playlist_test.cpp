// search_playlist and get_playlist over HTTP against the real server: playlists made with the
// `sonvik playlist` commands, read by the module with its privilege switch, answers and log lines.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "e2e/support/server_test.h"

namespace Sonvik::e2e {
namespace {

constexpr const char* kBrowse = "QUOR.Sonvik.VoiceAssistant.Browse";
constexpr const char* kLibraryDb = "/var/packages/Sonvik/var/library.db";

class PlaylistTest : public ServerTest {
 protected:
  void PreparePackage() override {
    // Tracks straight into the library (the files need not exist for playlists).
    CommandResult sql =
        RunProgram("/usr/bin/sqlite3",
                   {kLibraryDb,
                    "INSERT INTO libraries (id, path) VALUES (1, '/var/packages/music');"
                    "INSERT INTO tracks (id, library_id, path, title, artist, album, genre, year,"
                    " container, codec) VALUES"
                    " (1, 1, '/var/packages/music/1.flac', 'Hey Jude', 'The Beatles', 'Past"
                    " Masters', 'Rock', 1968, 'flac', 'flac'),"
                    " (2, 1, '/var/packages/music/2.mp3', 'Back in Black', 'AC/DC', 'Back in"
                    " Black', 'Hard Rock', 1980, 'mp3', 'mp3'),"
                    " (3, 1, '/var/packages/music/3.ogg', 'Blue in Green', 'Miles Davis', 'Kind"
                    " of Blue', 'Jazz', 1959, 'ogg', 'vorbis'),"
                    " (4, 1, '/var/packages/music/4.wav', 'No Codec', 'Nobody', 'None', 'Rock',"
                    " 2000, 'wav', '');"});
    ASSERT_EQ(sql.exit_code, 0) << sql.err;
    RunSonvikOrFail({"playlist", "create", "Road Trip"});
    RunSonvikOrFail({"playlist", "add", "Road Trip", "1", "2", "3", "4"});
    RunSonvikOrFail({"playlist", "create", "rock"});
    RunSonvikOrFail({"playlist", "add", "rock", "2"});
    RunSonvikOrFail({"playlist", "create", "ROCK", "--user", kUser});
    RunSonvikOrFail({"playlist", "add", "ROCK", "--user", kUser, "1"});
    RunSonvikOrFail({"playlist", "smart", "create", "Jazz Club", "--rule", "genre is jazz"});
    RunSonvikOrFail({"playlist", "smart", "create", "Old Gold", "--user", kUser, "--rule",
                     "year less 1970", "--order", "year"});
  }

  HttpResponse SearchPlaylist(const std::string& keyword, int offset = 0, int limit = 20) {
    return LoggedInClient()->Call(kBrowse, "search_playlist",
                                  {{"keyword", keyword},
                                   {"offset", std::to_string(offset)},
                                   {"limit", std::to_string(limit)}});
  }
  HttpResponse GetPlaylist(const std::string& id, int offset = 0, int limit = 20) {
    return LoggedInClient()->Call(kBrowse, "get_playlist",
                                  {{"playlist_id", id},
                                   {"offset", std::to_string(offset)},
                                   {"limit", std::to_string(limit)}});
  }
  static std::vector<std::string> Titles(const HttpResponse& response) {
    std::vector<std::string> titles;
    const Json::Value body = response.Json();
    for (const auto& track : body["data"]["track"]) {
      titles.push_back(track["title"].asString());
    }
    return titles;
  }
};

TEST_F(PlaylistTest, OwnExactMatchBeforeSharedAndTrackObjects) {
  HttpResponse response = SearchPlaylist("rock");
  ASSERT_TRUE(response.Success()) << response.body;
  const Json::Value data = response.Json()["data"];
  EXPECT_EQ(data["playlist_id"].asString(), "personal_normal_ROCK");
  EXPECT_EQ(data["count"].asInt(), 1);
  ASSERT_EQ(data["track"].size(), 1u);
  const Json::Value& track = data["track"][0];
  EXPECT_EQ(track["id"].asInt(), 1);
  EXPECT_EQ(track["title"].asString(), "Hey Jude");
  EXPECT_EQ(track["artist"].asString(), "The Beatles");
  EXPECT_EQ(track["album"].asString(), "Past Masters");
  EXPECT_EQ(track["container"].asString(), "flac");
  EXPECT_EQ(track["codec"].asString(), "flac");
}

TEST_F(PlaylistTest, PagesByNameThenById) {
  HttpResponse response = SearchPlaylist("road", 0, 2);
  ASSERT_TRUE(response.Success()) << response.body;
  EXPECT_EQ(Titles(response), (std::vector<std::string>{"Hey Jude", "Back in Black"}));
  EXPECT_EQ(response.Json()["data"]["count"].asInt(), 4);
  const std::string id = response.Json()["data"]["playlist_id"].asString();
  EXPECT_EQ(id.rfind("shared_normal_", 0), 0u) << id;

  // The track without a codec is counted but not answered.
  response = GetPlaylist(id, 2, 2);
  ASSERT_TRUE(response.Success()) << response.body;
  EXPECT_EQ(Titles(response), std::vector<std::string>{"Blue in Green"});
  EXPECT_EQ(response.Json()["data"]["count"].asInt(), 4);
  EXPECT_FALSE(response.Json()["data"].isMember("playlist_id"));

  response = GetPlaylist(id, 40, 5);
  ASSERT_TRUE(response.Success());
  EXPECT_EQ(response.Json()["data"]["track"].size(), 0u);
}

TEST_F(PlaylistTest, SmartPlaylistsSharedAndOwn) {
  HttpResponse response = SearchPlaylist("JAZZ CLUB");
  ASSERT_TRUE(response.Success()) << response.body;
  EXPECT_EQ(response.Json()["data"]["playlist_id"].asString(), "shared_smart_Jazz Club");
  EXPECT_EQ(Titles(response), std::vector<std::string>{"Blue in Green"});

  // Alice's own rule file lives in her preference folder, read with root privileges.
  response = SearchPlaylist("gold");
  ASSERT_TRUE(response.Success()) << response.body;
  EXPECT_EQ(response.Json()["data"]["playlist_id"].asString(), "personal_smart_Old Gold");
  EXPECT_EQ(Titles(response), (std::vector<std::string>{"Blue in Green", "Hey Jude"}));
  response = GetPlaylist("personal_smart_Old Gold", 1, 1);
  EXPECT_EQ(Titles(response), std::vector<std::string>{"Hey Jude"});
  EXPECT_EQ(response.Json()["data"]["count"].asInt(), 2);
}

TEST_F(PlaylistTest, NoMatchIsAnEmptySuccess) {
  HttpResponse response = SearchPlaylist("polka");
  ASSERT_TRUE(response.Success()) << response.body;
  const Json::Value data = response.Json()["data"];
  EXPECT_EQ(data["playlist_id"].asString(), "");
  EXPECT_EQ(data["count"].asInt(), 0);
  EXPECT_TRUE(data["track"].isArray());
  EXPECT_EQ(data["track"].size(), 0u);
}

TEST_F(PlaylistTest, BadIdsAnswer101AndAreLogged) {
  for (const std::string id : {"../../etc/passwd", "/etc/passwd", "personal_normal_../x",
                               "shared_smart_a\x01"
                               "b"}) {
    SCOPED_TRACE(id);
    HttpResponse response = GetPlaylist(id);
    EXPECT_EQ(response.ErrorCode(), 101) << response.body;
    EXPECT_FALSE(response.Json()["error"].isMember("detail"));
    EXPECT_TRUE(
        syslog().WaitFor("browse_handler:173 Failed to parse the playlist id " + id.substr(0, 8)));
  }
  HttpResponse response = GetPlaylist("shared_normal_999");
  EXPECT_EQ(response.ErrorCode(), 101);
  EXPECT_TRUE(
      syslog().WaitFor("browse_handler:308 Failed to get track by playlist_id "
                       "shared_normal_999"));
  EXPECT_TRUE(
      syslog().WaitFor("browse_handler:179 Failed to get playlist by id shared_normal_999"));
  for (const auto& line : syslog().Matching("browse_handler:")) EXPECT_EQ(line.severity(), 3);
  // Nothing about the privilege switch: the server keeps root as its saved id.
  EXPECT_TRUE(syslog().Matching("IF_RUN_AS").empty());
}

TEST_F(PlaylistTest, RequestChecksComeFirst) {
  auto client = LoggedInClient();
  HttpResponse response =
      client->Call(kBrowse, "search_playlist", {{"keyword", ""}, {"offset", "0"}, {"limit", "5"}});
  EXPECT_EQ(response.ErrorCode(), 120);
  EXPECT_EQ(response.Json()["error"]["detail"]["name"].asString(), "keyword");
  response = client->Call(kBrowse, "get_playlist",
                          {{"playlist_id", "x"}, {"offset", "0"}, {"limit", "5001"}});
  EXPECT_EQ(response.ErrorCode(), 120);
  EXPECT_EQ(response.Json()["error"]["detail"]["name"].asString(), "limit");
  // Without a login the host answers.
  EXPECT_EQ(Client()->Call(kBrowse, "get_playlist", {{"playlist_id", "x"}}).ErrorCode(), 105);
}

}  // namespace
}  // namespace Sonvik::e2e
