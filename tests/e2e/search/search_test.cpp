// search and count_search over HTTP against the real server, on tagged audio files made with
// FFmpeg and read by `sonvik scan`: spoken forms against written tags, the attempts, paging,
// sort orders, personal and shared views, error codes and log lines.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "e2e/support/server_test.h"

namespace Sonvik::e2e {
namespace {

namespace fs = std::filesystem;

constexpr const char* kBrowse = "QUOR.Sonvik.VoiceAssistant.Browse";
constexpr const char* kShared = "/var/packages/music-search";
constexpr const char* kBobMusic = "/var/packages/music-bob";
constexpr const char* kBob = "bob";
constexpr const char* kBobPassword = "bob's long password";

struct TaggedFile {
  const char* folder;
  const char* file;
  const char* title;
  const char* artist;
  const char* album;
  const char* disc;
  const char* track;
};

const TaggedFile kFiles[] = {
    {kShared, "01.flac", "Hey Jude", "The Beatles", "Past Masters", "1", "1"},
    {kShared, "02.mp3", "Something", "The Beatles", "Abbey Road", "1", "2"},
    {kShared, "03.flac", "Come Together", "The Beatles", "Abbey Road", "1", "1"},
    {kShared, "04.mp3", "Highway to Hell", "AC/DC", "Highway to Hell", "1", "1"},
    {kShared, "05.flac", "Losing My Religion", "R.E.M.", "Out of Time", "1", "2"},
    {kShared, "06.ogg", "Don't Stop Me Now", "Queen", "Jazz", "1", "12"},
    {kShared, "07.flac", "Dancing Queen", "ABBA", "Arrival", "1", "2"},
    {kShared, "08.mp3", "Déjà Vu", "Beyoncé", "B'Day", "1", "3"},
    {kShared, "09.flac", "They Say", "Someone Else", "Hey Hey", "1", "1"},
    {kShared, "10.flac", "Hey Hey My My", "Neil Young", "Rust Never Sleeps", "2", "1"},
    {kBobMusic, "11.flac", "Hey Bob", "Bob's Band", "Private Tapes", "1", "1"},
};

class SearchTest : public ServerTest {
 protected:
  void PreparePackage() override {
    static bool prepared = false;
    if (prepared) return;
    for (const char* folder : {kShared, kBobMusic}) fs::create_directories(folder);
    for (const TaggedFile& file : kFiles) {
      const std::string path = std::string(file.folder) + "/" + file.file;
      const CommandResult made =
          RunProgram("/usr/bin/ffmpeg", {"-hide_banner",
                                         "-loglevel",
                                         "error",
                                         "-y",
                                         "-f",
                                         "lavfi",
                                         "-i",
                                         "anullsrc=r=44100:cl=mono",
                                         "-t",
                                         "0.3",
                                         "-metadata",
                                         std::string("title=") + file.title,
                                         "-metadata",
                                         std::string("artist=") + file.artist,
                                         "-metadata",
                                         std::string("album=") + file.album,
                                         "-metadata",
                                         std::string("disc=") + file.disc,
                                         "-metadata",
                                         std::string("track=") + file.track,
                                         path});
      ASSERT_EQ(made.exit_code, 0) << made.err;
    }
    RunSonvikOrFail({"library", "add", kShared});
    RunSonvikOrFail({"user", "add", kBob, "--password-stdin", "--personal-library", kBobMusic},
                    std::string(kBobPassword) + "\n");
    RunSonvikOrFail({"scan"});
    prepared = !HasFailure();
  }

  HttpResponse Search(const Params& keywords, const std::string& sort_by = "", int offset = 0,
                      int limit = 20, HttpClient* client = nullptr) {
    Params params = keywords;
    params.push_back({"offset", std::to_string(offset)});
    params.push_back({"limit", std::to_string(limit)});
    if (!sort_by.empty()) params.push_back({"sort_by", sort_by});
    if (client != nullptr) return client->Call(kBrowse, "search", params);
    return LoggedInClient()->Call(kBrowse, "search", params);
  }

  std::vector<std::string> Titles(const Params& keywords, const std::string& sort_by = "",
                                  int offset = 0, int limit = 20, HttpClient* client = nullptr) {
    const HttpResponse response = Search(keywords, sort_by, offset, limit, client);
    EXPECT_TRUE(response.Success()) << response.body;
    std::vector<std::string> titles;
    const Json::Value body = response.Json();  // the loop below must not outlive it
    for (const Json::Value& track : body["data"]["track"]) {
      titles.push_back(track["title"].asString());
    }
    return titles;
  }

  HttpResponse Count(const Params& keywords, HttpClient* client = nullptr) {
    if (client != nullptr) return client->Call(kBrowse, "count_search", keywords);
    return LoggedInClient()->Call(kBrowse, "count_search", keywords);
  }

  std::unique_ptr<HttpClient> BobClient() {
    auto client = Client();
    const std::string sid = client->Login(kBob, kBobPassword);
    EXPECT_FALSE(sid.empty());
    client->SetDefaultParams({{"_sid", sid}});
    return client;
  }
};

using Names = std::vector<std::string>;

TEST_F(SearchTest, SpokenFormsFindWrittenTags) {
  EXPECT_EQ(Titles({{"title", "hey jude"}}), Names{"Hey Jude"});
  EXPECT_EQ(Titles({{"artist", "ABBA"}}), Names{"Dancing Queen"});  // spelled out: A B B A
  EXPECT_EQ(Titles({{"artist", "R E M"}}), Names{"Losing My Religion"});
  EXPECT_EQ(Titles({{"artist", "REM"}}), Names{"Losing My Religion"});
  EXPECT_EQ(Titles({{"artist", "ac dc"}}), Names{"Highway to Hell"});
  EXPECT_EQ(Titles({{"artist", "ACDC"}}), Names{"Highway to Hell"});
  EXPECT_EQ(Titles({{"title", "don't stop me now"}}), Names{"Don't Stop Me Now"});
  EXPECT_EQ(Titles({{"title", "dont stop"}}), Names{"Don't Stop Me Now"});
  EXPECT_EQ(Titles({{"artist", "beyonce"}}), Names{"Déjà Vu"});
  EXPECT_EQ(Titles({{"title", "deja vu"}}), Names{"Déjà Vu"});
  EXPECT_EQ(Titles({{"album", "b day"}}), Names{"Déjà Vu"});
  // A word must start on a word boundary: "hey" is not in "They".
  EXPECT_EQ(Titles({{"title", "hey"}}), (Names{"Hey Jude", "Hey Hey My My"}));
}

TEST_F(SearchTest, KindsTogetherAllMustMatch) {
  EXPECT_EQ(Titles({{"album", "abbey road"}, {"artist", "beatles"}}),
            (Names{"Something", "Come Together"}));
  EXPECT_EQ(Titles({{"album", "abbey road"}, {"artist", "queen"}}), Names{});
  // Several kinds are tried once, as spoken: no shorter phrase is tried.
  EXPECT_EQ(Titles({{"album", "abbey road remastered"}, {"artist", "beatles"}}), Names{});
}

TEST_F(SearchTest, ShorterPhrasesWhenTheWholeFindsNothing) {
  // "hey jude remix" finds nothing; then "hey jude" or "jude remix" does.
  EXPECT_EQ(Titles({{"title", "hey jude remix"}}), Names{"Hey Jude"});
  // Down to single words: "together" or "nowhere".
  EXPECT_EQ(Titles({{"title", "nowhere together"}}), Names{"Come Together"});
  EXPECT_EQ(Titles({{"title", "qqq zzz"}}), Names{});
}

TEST_F(SearchTest, PagingAndSortOrders) {
  // By track id: the scan order of the files.
  EXPECT_EQ(Titles({{"artist", "the beatles"}}), (Names{"Hey Jude", "Something", "Come Together"}));
  EXPECT_EQ(Titles({{"artist", "the beatles"}}, "track_id", 1, 1), Names{"Something"});
  // By album, then disc and track number.
  EXPECT_EQ(Titles({{"artist", "the beatles"}}, "album"),
            (Names{"Come Together", "Something", "Hey Jude"}));
  EXPECT_EQ(Titles({{"artist", "the beatles"}}, "album", 2, 5), Names{"Hey Jude"});
  // A page past the whole phrase's matches falls through to broader attempts, and finally
  // answers an empty list.
  EXPECT_EQ(Titles({{"artist", "the beatles"}}, "track_id", 3, 5), Names{});
  EXPECT_EQ(Titles({{"title", "hey hey"}}, "track_id", 1, 5), Names{"Hey Hey My My"});
}

TEST_F(SearchTest, TrackObjects) {
  const HttpResponse response = Search({{"title", "dancing queen"}});
  ASSERT_TRUE(response.Success()) << response.body;
  const Json::Value data = response.Json()["data"];
  EXPECT_EQ(data.getMemberNames(), std::vector<std::string>{"track"});
  ASSERT_EQ(data["track"].size(), 1u);
  const Json::Value& track = data["track"][0];
  EXPECT_EQ(track.getMemberNames(),
            (std::vector<std::string>{"album", "artist", "codec", "container", "id", "title"}));
  EXPECT_TRUE(track["id"].isInt());
  EXPECT_GT(track["id"].asInt(), 0);
  EXPECT_EQ(track["title"].asString(), "Dancing Queen");
  EXPECT_EQ(track["artist"].asString(), "ABBA");
  EXPECT_EQ(track["album"].asString(), "Arrival");
  EXPECT_EQ(track["container"].asString(), "flac");
  EXPECT_EQ(track["codec"].asString(), "flac");
}

TEST_F(SearchTest, PersonalLibraryOnlyInItsOwnersView) {
  EXPECT_EQ(Titles({{"title", "hey"}}), (Names{"Hey Jude", "Hey Hey My My"}));
  auto bob = BobClient();
  const Names seen = Titles({{"title", "hey"}}, "", 0, 20, bob.get());
  EXPECT_EQ(std::set<std::string>(seen.begin(), seen.end()),
            (std::set<std::string>{"Hey Jude", "Hey Hey My My", "Hey Bob"}));
  EXPECT_EQ(Count({{"artist", "bob s band"}}, bob.get()).Json()["data"]["count"].asInt(), 1);
  EXPECT_EQ(Count({{"artist", "bob s band"}}).Json()["data"]["count"].asInt(), 0);
}

TEST_F(SearchTest, CountSearch) {
  HttpResponse response = Count({{"title", "hey"}});
  ASSERT_TRUE(response.Success()) << response.body;
  EXPECT_EQ(response.Json()["data"].getMemberNames(), std::vector<std::string>{"count"});
  EXPECT_EQ(response.Json()["data"]["count"].asInt(), 2);
  EXPECT_EQ(Count({{"album", "abbey road"}, {"artist", "beatles"}}).Json()["data"]["count"], 2);
  // The first attempt with any match is counted: "hey jude" (1), not "hey" or "jude".
  EXPECT_EQ(Count({{"title", "hey jude"}}).Json()["data"]["count"].asInt(), 1);
  EXPECT_EQ(Count({{"title", "zzz qqq"}}).Json()["data"]["count"].asInt(), 0);
}

TEST_F(SearchTest, BadRequests) {
  EXPECT_EQ(Search({}).ErrorCode(), 101);
  EXPECT_EQ(Search({{"title", ""}, {"artist", ""}}).ErrorCode(), 101);
  EXPECT_EQ(Count({}).ErrorCode(), 101);
  HttpResponse refused = Search({{"title", "hey"}}, "title");
  EXPECT_EQ(refused.ErrorCode(), 120);
  EXPECT_EQ(refused.Json()["error"]["detail"]["name"].asString(), "sort_by");
  EXPECT_EQ(Search({{"title", "hey"}}, "track_id", 0, 0).ErrorCode(), 120);
  EXPECT_EQ(Search({{"title", "hey"}}, "track_id", -1, 5).ErrorCode(), 120);
  EXPECT_EQ(Search({{"title", "hey"}}, "track_id", 0, 5001).ErrorCode(), 120);
  EXPECT_TRUE(syslog().Matching("browse_handler").empty());
}

TEST_F(SearchTest, KeywordWithoutLettersIsLogged) {
  EXPECT_EQ(Search({{"title", "!!!"}}).ErrorCode(), 101);
  EXPECT_TRUE(syslog().WaitFor("browse_handler:80 Failed to get track by condition.. error 4"));
  EXPECT_EQ(Count({{"artist", "?"}}).ErrorCode(), 101);
  EXPECT_TRUE(syslog().WaitFor("browse_handler:95 Failed to count track by condition.. error 4"));
}

}  // namespace
}  // namespace Sonvik::e2e
