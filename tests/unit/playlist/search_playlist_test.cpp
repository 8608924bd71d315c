// search_playlist and get_playlist end to end below the host: real library database, real
// playlist files, the handler functions the API table names.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "host/api/api_response.h"
#include "package/playlist/playlist_editor.h"
#include "package/playlist/playlist_files.h"
#include "support/syslog_capture.h"
#include "unit/playlist/playlist_fixture.h"
#include "voice_module/module/handlers.h"

namespace Sonvik::playlist::testing {
namespace {

using Sonvik::testing::CapturedLog;

class SearchPlaylistTest : public PlaylistDatabaseTest {
 protected:
  PlaylistOwner Shared() { return {0, "", ""}; }
  PlaylistOwner Owner(const TestUser& user) { return {user.uid, user.name, user.preference_dir}; }
  // A normal playlist of `owner` holding one new track titled after the playlist.
  void MakeNormal(const PlaylistOwner& owner, const std::string& name, int tracks = 1) {
    PlaylistEditor editor(Db(), owner);
    editor.Create(name);
    std::vector<int64_t> ids;
    for (int i = 0; i < tracks; ++i) {
      ids.push_back(AddSharedTrack(name + " track " + std::to_string(i + 1)));
    }
    if (!ids.empty()) editor.Add(name, ids);
  }
  void MakeSmart(const PlaylistOwner& owner, const std::string& name, const std::string& genre) {
    SmartPlaylist smart;
    smart.name = name;
    std::string problem;
    smart.rules.push_back(*MakeSmartRule("genre", "is", genre, &problem));
    PlaylistEditor(Db(), owner).CreateSmart(smart);
  }

  QUOR::APIResponse SearchByName(const TestUser& user, const std::string& keyword, int offset = 0,
                                 int limit = 20) {
    QUOR::APIRequest request = Request(user, {{"keyword", keyword},
                                              {"offset", std::to_string(offset)},
                                              {"limit", std::to_string(limit)}});
    QUOR::APIResponse response;
    Sonvik::SearchAudioByPlaylistName(&request, &response);
    return response;
  }
  QUOR::APIResponse GetById(const TestUser& user, const std::string& id, int offset = 0,
                            int limit = 20) {
    QUOR::APIRequest request = Request(user, {{"playlist_id", id},
                                              {"offset", std::to_string(offset)},
                                              {"limit", std::to_string(limit)}});
    QUOR::APIResponse response;
    Sonvik::GetAudioByPlaylistId(&request, &response);
    return response;
  }
  static std::vector<std::string> Titles(const QUOR::APIResponse& response) {
    std::vector<std::string> titles;
    for (const auto& track : response.data()["track"]) titles.push_back(track["title"].asString());
    return titles;
  }
  static std::vector<std::string> LogTexts() {
    std::vector<std::string> texts;
    for (const auto& line : CapturedLog()) {
      texts.push_back(std::to_string(line.priority) + " " + line.text);
    }
    return texts;
  }
  int64_t StoredId(unsigned owner, const std::string& name) {
    sqlite::Statement select(Db(), "SELECT id FROM playlists WHERE owner_uid = ? AND name = ?");
    select.BindAll(owner, name);
    return select.Step() ? select.ColumnInt64(0) : 0;
  }
};

TEST_F(SearchPlaylistTest, ExactMatchInOwnPlaylistsWinsOverShared) {
  MakeNormal(Owner(alice_), "Rock Classics");
  MakeNormal(Owner(alice_), "ROCK");
  MakeNormal(Shared(), "rock");
  auto response = SearchByName(alice_, "rock");
  ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
  EXPECT_EQ(response.data()["playlist_id"].asString(),
            "personal_normal_" + std::to_string(StoredId(kAliceUid, "ROCK")) + "/ROCK");
  EXPECT_EQ(Titles(response), std::vector<std::string>{"ROCK track 1"});
  EXPECT_EQ(response.data()["count"].asInt(), 1);
  EXPECT_TRUE(CapturedLog().empty());
}

TEST_F(SearchPlaylistTest, PartialMatchTakesOwnNormalCandidatesFirst) {
  MakeNormal(Shared(), "Hard Rock");
  MakeNormal(Owner(alice_), "Rock Classics");
  auto response = SearchByName(alice_, "rock");
  ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
  EXPECT_EQ(Titles(response), std::vector<std::string>{"Rock Classics track 1"});
}

TEST_F(SearchPlaylistTest, SourcesAreTriedInOrder) {
  // Exact matches in every source; each step removes the winner and searches again.
  MakeNormal(Shared(), "Jazz");
  MakeSmart(Shared(), "jazz", "jazz");
  MakeSmart(Owner(alice_), "JAZZ", "jazz");
  MakeNormal(Owner(alice_), "jAzz");
  AddTrack(shared_library_, {.title = "Smart jazz", .genre = "Jazz"});
  // A partial match in the first source loses to an exact one in the last.
  MakeNormal(Owner(alice_), "Jazz Hands");

  const std::vector<std::string> expected = {"personal_normal_", "personal_smart_JAZZ",
                                             "shared_normal_", "shared_smart_jazz"};
  const std::vector<std::pair<unsigned, std::string>> winners = {
      {kAliceUid, "jAzz"}, {kAliceUid, "JAZZ"}, {0, "Jazz"}, {0, "jazz"}};
  for (size_t i = 0; i < expected.size(); ++i) {
    SCOPED_TRACE(expected[i]);
    auto response = SearchByName(alice_, "jazz");
    ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
    EXPECT_TRUE(response.data()["playlist_id"].asString().starts_with(expected[i]));
    PlaylistEditor(Db(), winners[i].first == 0 ? Shared() : Owner(alice_))
        .Delete(winners[i].second);
  }
  auto response = SearchByName(alice_, "jazz");
  EXPECT_EQ(Titles(response), std::vector<std::string>{"Jazz Hands track 1"});
}

TEST_F(SearchPlaylistTest, SmartPlaylistAnswersItsRuleTracks) {
  AddTrack(shared_library_, {.title = "Blue", .genre = "Blues"});
  AddTrack(shared_library_, {.title = "Green", .genre = "Rock"});
  AddTrack(alice_library_, {.title = "Mine", .genre = "Blues"});
  MakeSmart(Shared(), "Blues Night", "blues");
  auto response = SearchByName(alice_, "blues night");
  ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
  EXPECT_EQ(response.data()["playlist_id"].asString(), "shared_smart_Blues Night");
  EXPECT_EQ(Titles(response), (std::vector<std::string>{"Blue", "Mine"}));
  // Bob cannot see alice's personal library.
  response = SearchByName(bob_, "BLUES NIGHT");
  EXPECT_EQ(Titles(response), std::vector<std::string>{"Blue"});
  EXPECT_EQ(response.data()["count"].asInt(), 1);
}

TEST_F(SearchPlaylistTest, NothingFoundIsASuccess) {
  MakeNormal(Shared(), "Jazz");
  auto response = SearchByName(alice_, "polka");
  ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
  EXPECT_EQ(response.data()["track"].size(), 0u);
  EXPECT_TRUE(response.data()["track"].isArray());
  EXPECT_EQ(response.data()["count"].asInt(), 0);
  EXPECT_EQ(response.data()["playlist_id"].asString(), "");
  EXPECT_TRUE(CapturedLog().empty());
}

TEST_F(SearchPlaylistTest, PagesAndCounts) {
  MakeNormal(Shared(), "Five", 5);
  auto response = SearchByName(alice_, "five", 2, 2);
  EXPECT_EQ(Titles(response), (std::vector<std::string>{"Five track 3", "Five track 4"}));
  EXPECT_EQ(response.data()["count"].asInt(), 5);
  const std::string id = response.data()["playlist_id"].asString();

  response = GetById(alice_, id, 4, 10);
  EXPECT_EQ(Titles(response), std::vector<std::string>{"Five track 5"});
  EXPECT_EQ(response.data()["count"].asInt(), 5);
  EXPECT_FALSE(response.data().isMember("playlist_id"));

  // Past the end: still the playlist, with no tracks.
  response = SearchByName(alice_, "five", 9, 10);
  ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
  EXPECT_EQ(response.data()["track"].size(), 0u);
  EXPECT_EQ(response.data()["count"].asInt(), 5);
  EXPECT_EQ(response.data()["playlist_id"].asString(), id);
  response = GetById(alice_, id, 5, 10);
  ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
  EXPECT_EQ(response.data()["track"].size(), 0u);
  EXPECT_EQ(response.data()["count"].asInt(), 5);

  // An empty playlist is still a match.
  MakeNormal(Shared(), "Empty", 0);
  response = SearchByName(alice_, "empty");
  EXPECT_NE(response.data()["playlist_id"].asString(), "");
  EXPECT_EQ(response.data()["count"].asInt(), 0);
}

TEST_F(SearchPlaylistTest, TracksWithoutContainerOrCodecAreLeftOutButCounted) {
  PlaylistEditor editor(Db(), Shared());
  editor.Create("Mixed");
  editor.Add("Mixed", {AddTrack(shared_library_, {.title = "Good"}),
                       AddTrack(shared_library_, {.title = "No codec", .codec = ""}),
                       AddTrack(shared_library_, {.title = "No container", .container = ""})});
  auto response = SearchByName(alice_, "mixed");
  EXPECT_EQ(Titles(response), std::vector<std::string>{"Good"});
  EXPECT_EQ(response.data()["count"].asInt(), 3);
  const auto& track = response.data()["track"][0];
  EXPECT_TRUE(track["id"].isInt());
  EXPECT_EQ(track["album"].asString(), "Album");
  EXPECT_EQ(track["artist"].asString(), "Artist");
  EXPECT_EQ(track["container"].asString(), "flac");
  EXPECT_EQ(track["codec"].asString(), "flac");
}

TEST_F(SearchPlaylistTest, PreferenceFolderPlaylistsByNameAndByNumber) {
  // Bob's personal library is off: his normal playlists are files.
  const int64_t first = AddSharedTrack("One");
  const int64_t second = AddSharedTrack("Two");
  PlaylistEditor editor(Db(), Owner(bob_));
  editor.Create("Road Trip");
  editor.Add("Road Trip", {first, second});
  ASSERT_TRUE(std::filesystem::exists(bob_.preference_dir + "/playlists/Road Trip.m3u8"));

  // Found exactly: keyed by its name.
  auto response = SearchByName(bob_, "road trip");
  EXPECT_EQ(response.data()["playlist_id"].asString(), "personal_normal_Road Trip");
  EXPECT_EQ(Titles(response), (std::vector<std::string>{"One", "Two"}));
  // Found in part: keyed by its number.
  response = SearchByName(bob_, "road");
  const std::string by_number = response.data()["playlist_id"].asString();
  EXPECT_EQ(by_number,
            "personal_normal_" + std::to_string(PlaylistFileNumber("Road Trip")) + "/Road Trip");
  for (const std::string& id : {std::string("personal_normal_Road Trip"), by_number}) {
    response = GetById(bob_, id, 1, 5);
    EXPECT_EQ(Titles(response), std::vector<std::string>{"Two"}) << id;
    EXPECT_EQ(response.data()["count"].asInt(), 2);
  }
}

TEST_F(SearchPlaylistTest, GetPlaylistForEachKind) {
  AddTrack(shared_library_, {.title = "S", .genre = "Soul"});
  MakeSmart(Shared(), "Soul", "soul");
  MakeSmart(Owner(bob_), "My Soul", "soul");
  MakeNormal(Shared(), "Shared One");
  MakeNormal(Owner(alice_), "Alice One");
  const struct {
    const TestUser* user;
    std::string id;
    std::string title;
  } cases[] = {
      {&alice_, "shared_smart_Soul", "S"},
      {&bob_, "personal_smart_My Soul", "S"},
      {&alice_, "shared_normal_" + std::to_string(StoredId(0, "Shared One")), "Shared One track 1"},
      {&alice_, "personal_normal_" + std::to_string(StoredId(kAliceUid, "Alice One")),
       "Alice One track 1"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.id);
    auto response = GetById(*c.user, c.id);
    ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
    EXPECT_EQ(Titles(response), std::vector<std::string>{c.title});
  }
  // Another user's personal playlist is not reachable by its number.
  auto response =
      GetById(bob_, "personal_normal_" + std::to_string(StoredId(kAliceUid, "Alice One")));
  EXPECT_EQ(response.error_code(), 101);
}

TEST_F(SearchPlaylistTest, IdsThatCouldNameFilesAreRefusedUnread) {
  // A playlist file outside the playlists folder, and one inside under another name.
  const int64_t track = AddSharedTrack("Secret");
  WriteFile(bob_.preference_dir + "/secret.m3u8", "/var/packages/music/Secret.flac\n");
  WriteFile("/var/packages/Sonvik/secret.m3u8", "/var/packages/music/Secret.flac\n");
  PlaylistEditor(Db(), Owner(bob_)).Create("inside");
  PlaylistEditor(Db(), Owner(bob_)).Add("inside", {track});

  const std::string unparsable[] = {
      "../secret",
      "personal_normal_../secret",
      "personal_normal_../../secret",
      "personal_smart_../../secret",
      "/var/packages/Sonvik/secret.m3u8",
      "personal_normal_/var/packages/Sonvik/secret",
      "personal_normal_inside\n",
      std::string("personal_normal_inside\0x", 24),
      "personal_normal_" + std::string(300, 'a'),
  };
  for (const auto& id : unparsable) {
    SCOPED_TRACE(id);
    Sonvik::testing::ClearCapturedLog();
    auto response = GetById(bob_, id);
    EXPECT_EQ(response.error_code(), 101);
    EXPECT_EQ(response.state(), QUOR::APIResponse::State::kError);
    EXPECT_TRUE(response.data().isNull());
    ASSERT_EQ(CapturedLog().size(), 1u);
    // The log line is a C string: it ends at a NUL byte.
    EXPECT_EQ(CapturedLog()[0].text,
              "browse_handler:173 Failed to parse the playlist id " + std::string(id.c_str()));
    EXPECT_EQ(CapturedLog()[0].priority, 3);
  }
  // Well formed, but only names inside the playlists folder are looked at.
  Sonvik::testing::ClearCapturedLog();
  auto response = GetById(bob_, "personal_normal_secret");
  EXPECT_EQ(response.error_code(), 101);
  EXPECT_EQ(LogTexts(),
            (std::vector<std::string>{"3 browse_handler:308 Failed to get track by playlist_id "
                                      "personal_normal_secret",
                                      "3 browse_handler:179 Failed to get playlist by id "
                                      "personal_normal_secret"}));
  EXPECT_EQ(GetById(bob_, "personal_normal_inside").state(), QUOR::APIResponse::State::kSuccess);
}

TEST_F(SearchPlaylistTest, UnknownPlaylistsAnswer101WithBothLines) {
  auto response = GetById(alice_, "shared_smart_Nope");
  EXPECT_EQ(response.error_code(), 101);
  EXPECT_EQ(LogTexts(),
            (std::vector<std::string>{
                "3 browse_handler:301 Failed to get track by playlist_id shared_smart_Nope",
                "3 browse_handler:179 Failed to get playlist by id shared_smart_Nope"}));
}

TEST_F(SearchPlaylistTest, ListFailuresAnswer100) {
  // Bob's playlists "folder" is a file: his list cannot be read.
  WriteFile(bob_.preference_dir + "/playlists", "not a folder");
  auto response = SearchByName(bob_, "x");
  EXPECT_EQ(response.error_code(), 100);
  EXPECT_TRUE(response.data().isNull());
  EXPECT_EQ(LogTexts(),
            std::vector<std::string>{"3 browse_handler:195 Failed to get personal normal playlist, "
                                     "personal library is disabled"});

  // Without the playlist tables neither the personal (alice) nor the shared list can be read.
  Sonvik::testing::ClearCapturedLog();
  std::filesystem::remove(bob_.preference_dir + "/playlists");
  sqlite3_exec(Db(), "DROP TABLE playlist_items; DROP TABLE playlists;", nullptr, nullptr, nullptr);
  for (const TestUser* user : {&alice_, &bob_}) {
    Sonvik::testing::ClearCapturedLog();
    response = SearchByName(*user, "x");
    EXPECT_EQ(response.error_code(), 100);
    EXPECT_EQ(LogTexts(), std::vector<std::string>{
                              "3 browse_handler:202 Failed to get normal playlist, personal "
                              "library is enabled"});
  }
}

TEST_F(SearchPlaylistTest, TrackFailureOfAMatchAnswersCodeZero) {
  MakeSmart(Owner(bob_), "Broken", "rock");
  sqlite3_exec(Db(), "ALTER TABLE tracks RENAME TO tracks_gone;", nullptr, nullptr, nullptr);
  auto response = SearchByName(bob_, "broken");
  EXPECT_EQ(response.state(), QUOR::APIResponse::State::kError);
  EXPECT_EQ(response.error_code(), 0);
  EXPECT_TRUE(response.data().isNull());
  EXPECT_EQ(LogTexts(), std::vector<std::string>{"3 browse_handler:301 Failed to get track by "
                                                 "playlist_id personal_smart_Broken"});
}

// Runs `body` in a child that can never regain root; answers what it reported.
template <typename Body>
std::string InChildWithoutRoot(Body body) {
  int fds[2];
  if (pipe(fds) != 0) return "pipe failed";
  pid_t pid = fork();
  if (pid == 0) {
    close(fds[0]);
    std::string report;
    if (setresgid(100, 100, 100) != 0 || setresuid(1026, 1026, 1026) != 0) {
      report = "could not drop ids";
    } else {
      report = body();
    }
    ssize_t written = write(fds[1], report.data(), report.size());
    _exit(written == static_cast<ssize_t>(report.size()) ? 0 : 1);
  }
  close(fds[1]);
  std::string report;
  char buffer[1024];
  ssize_t n;
  while ((n = read(fds[0], buffer, sizeof(buffer))) > 0) report.append(buffer, n);
  close(fds[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  return report;
}

TEST_F(SearchPlaylistTest, FailedSwitchToRootAnswersCodeZero) {
  PlaylistEditor(Db(), Owner(bob_)).Create("Mine");
  // The folders must stay readable to the unprivileged child.
  std::filesystem::permissions(paths::kUsersDir, std::filesystem::perms(0755));
  std::string report = InChildWithoutRoot([this] {
    std::string text;
    for (const char* keyword : {"mine", "other"}) {
      Sonvik::testing::ClearCapturedLog();
      auto response = SearchByName(bob_, keyword);
      text += std::string(keyword) + " " + std::to_string(static_cast<int>(response.state())) +
              " " + std::to_string(response.error_code()) + "\n";
      for (const auto& line : LogTexts()) text += line + "\n";
    }
    return text;
  });
  EXPECT_EQ(report,
            // Own normal playlist found exactly: the switch for its tracks fails.
            "mine 2 0\n"
            "35 browse_handler:295 ERROR: IF_RUN_AS(0, 0)\n"
            "3 browse_handler:315 Failed to run as root.\n"
            // No normal match: the switch for the own smart list fails.
            "other 2 0\n"
            "35 browse_handler:241 ERROR: IF_RUN_AS(0, 0)\n"
            "3 browse_handler:251 Failed to run as root.\n");
}

}  // namespace
}  // namespace Sonvik::playlist::testing
