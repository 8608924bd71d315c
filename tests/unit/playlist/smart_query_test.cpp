// Smart playlists evaluated against the library database: each field and operator, all/any,
// order, limit, paging, and the user's view.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "package/playlist/smart_query.h"
#include "package/playlist/voice_text_match.h"
#include "unit/playlist/playlist_fixture.h"

namespace Sonvik::playlist::testing {
namespace {

class SmartQueryTest : public PlaylistDatabaseTest {
 protected:
  void SetUp() override {
    PlaylistDatabaseTest::SetUp();
    AddTrack(shared_library_, {.title = "Hey Jude",
                               .album = "Past Masters",
                               .artist = "The Beatles",
                               .container = "flac",
                               .codec = "flac",
                               .genre = "Rock",
                               .year = 1968,
                               .duration_ms = 431000});
    AddTrack(shared_library_, {.title = "They Live",
                               .album = "Other",
                               .artist = "Someone",
                               .container = "mp3",
                               .codec = "mp3",
                               .genre = "Pop",
                               .year = 1988,
                               .duration_ms = 180999});
    AddTrack(shared_library_, {.title = "Back in Black",
                               .album = "Back in Black",
                               .artist = "AC/DC",
                               .container = "MP4",
                               .codec = "aac",
                               .genre = "Hard Rock",
                               .year = 1980,
                               .duration_ms = 255000,
                               .path = "/var/packages/music/acdc/back.m4a"});
    AddTrack(alice_library_,
             {.title = "Private", .artist = "Alice", .genre = "Rock", .year = 2020});
  }

  std::vector<std::string> Titles(const SmartPlaylist& playlist, unsigned uid = 0,
                                  int64_t offset = 0, int64_t limit = 100,
                                  int64_t* total = nullptr) {
    Json::Value tracks(Json::arrayValue);
    int64_t count = EvaluateSmartPlaylist(Db(), playlist, uid, offset, limit, {}, tracks);
    if (total != nullptr) *total = count;
    std::vector<std::string> titles;
    for (const auto& track : tracks) titles.push_back(track["title"].asString());
    return titles;
  }

  static SmartPlaylist Rules(std::vector<std::string> texts, bool all = true) {
    SmartPlaylist playlist;
    playlist.name = "p";
    playlist.match_all = all;
    for (const auto& text : texts) {
      std::string problem;
      auto rule = ParseSmartRuleText(text, &problem);
      EXPECT_TRUE(rule) << problem;
      if (rule) playlist.rules.push_back(*rule);
    }
    return playlist;
  }
  using Titles_ = std::vector<std::string>;
};

TEST_F(SmartQueryTest, EachOperatorOnEachKindOfField) {
  const struct {
    const char* rule;
    std::vector<std::string> titles;
  } cases[] = {
      {"artist is beatles", {}},
      {"artist is the beatles", {"Hey Jude"}},
      {"artist contains beatles", {"Hey Jude"}},
      {"artist contains ACDC", {"Back in Black"}},
      {"artist contains ac dc", {"Back in Black"}},
      {"title contains hey", {"Hey Jude"}},  // not "They Live"
      {"title starts_with back in", {"Back in Black"}},
      {"title starts_with bac", {}},  // token boundaries only
      {"title not_contains jude", {"They Live", "Back in Black"}},
      {"genre is_not rock", {"They Live", "Back in Black"}},
      {"genre is rock", {"Hey Jude"}},
      {"year is 1980", {"Back in Black"}},
      {"year is_not 1980", {"Hey Jude", "They Live"}},
      {"year greater 1979", {"They Live", "Back in Black"}},
      {"year less 1980", {"Hey Jude"}},
      {"duration is 180", {"They Live"}},  // 180.999 s is 180 whole seconds
      {"duration greater 180", {"Hey Jude", "Back in Black"}},
      {"duration less 181", {"They Live"}},
      {"container is mp4", {"Back in Black"}},
      {"codec contains AA", {"Back in Black"}},
      {"path starts_with /var/packages/music/acdc/", {"Back in Black"}},
      {"path starts_with /var/packages/music/ACDC/", {}},
      {"path contains .flac", {"Hey Jude", "They Live"}},
      {"path not_contains acdc", {"Hey Jude", "They Live"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.rule);
    EXPECT_EQ(Titles(Rules({c.rule})), c.titles);
  }
}

TEST_F(SmartQueryTest, AllAndAny) {
  EXPECT_EQ(Titles(Rules({"genre contains rock", "year greater 1979"})), Titles_{"Back in Black"});
  EXPECT_EQ(Titles(Rules({"genre is pop", "year is 1968"}, false)),
            (Titles_{"Hey Jude", "They Live"}));
}

TEST_F(SmartQueryTest, OrderLimitAndPaging) {
  SmartPlaylist playlist = Rules({"year greater 1900"});
  playlist.order = SmartField::kYear;
  playlist.descending = true;
  EXPECT_EQ(Titles(playlist), (Titles_{"They Live", "Back in Black", "Hey Jude"}));
  playlist.order = SmartField::kTitle;
  playlist.descending = false;
  EXPECT_EQ(Titles(playlist), (Titles_{"Back in Black", "Hey Jude", "They Live"}));

  // The limit keeps the first tracks in order; pages and the count stay within it.
  playlist.limit = 2;
  int64_t total = 0;
  EXPECT_EQ(Titles(playlist, 0, 0, 100, &total), (Titles_{"Back in Black", "Hey Jude"}));
  EXPECT_EQ(total, 2);
  EXPECT_EQ(Titles(playlist, 0, 1, 5, &total), Titles_{"Hey Jude"});
  EXPECT_EQ(Titles(playlist, 0, 2, 5, &total), Titles_{});
  EXPECT_EQ(total, 2);
  playlist.limit = 0;
  EXPECT_EQ(Titles(playlist, 0, 1, 1, &total), Titles_{"Hey Jude"});
  EXPECT_EQ(total, 3);
}

TEST_F(SmartQueryTest, RestrictedToTheUsersView) {
  const SmartPlaylist playlist = Rules({"genre is rock"});
  EXPECT_EQ(Titles(playlist, 0), Titles_{"Hey Jude"});
  EXPECT_EQ(Titles(playlist, kAliceUid), (Titles_{"Hey Jude", "Private"}));
  EXPECT_EQ(Titles(playlist, kBobUid), Titles_{"Hey Jude"});
}

TEST(VoiceTextMatch, TokenBoundaries) {
  EXPECT_TRUE(VoiceTextMatches("The Beatles", "beatles", VoiceMatchMode::kContains));
  EXPECT_FALSE(VoiceTextMatches("They", "hey", VoiceMatchMode::kContains));
  EXPECT_TRUE(VoiceTextMatches("AC/DC", "acdc", VoiceMatchMode::kSame));
  EXPECT_TRUE(VoiceTextMatches("Don't Stop", "don t", VoiceMatchMode::kStartsWith));
  EXPECT_TRUE(VoiceTextMatches("anything", "", VoiceMatchMode::kContains));
  EXPECT_FALSE(VoiceTextMatches("anything", "", VoiceMatchMode::kSame));
  // The search engine's fold: accents, spelled words, numbers.
  EXPECT_TRUE(VoiceTextMatches("Motörhead", "motorhead", VoiceMatchMode::kSame));
  EXPECT_TRUE(VoiceTextMatches("R.E.M.", "R E M", VoiceMatchMode::kSame));
  EXPECT_TRUE(VoiceTextMatches("Rocky IV Theme", "rocky 4", VoiceMatchMode::kStartsWith));
  EXPECT_TRUE(VoiceTextMatches("Guns N' Roses", "guns and roses", VoiceMatchMode::kSame));
}

}  // namespace
}  // namespace Sonvik::playlist::testing
