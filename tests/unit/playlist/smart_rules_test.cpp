// Smart playlist rules: what is accepted, what is refused and with which words.
#include <gtest/gtest.h>

#include <string>

#include "package/playlist/smart_rules.h"

namespace Sonvik::playlist {
namespace {

TEST(SmartRuleText, ParsesFieldOperatorAndTheRestAsValue) {
  std::string problem;
  auto rule = ParseSmartRuleText("  artist   contains  the  Beatles ", &problem);
  ASSERT_TRUE(rule) << problem;
  EXPECT_EQ(rule->field, SmartField::kArtist);
  EXPECT_EQ(rule->op, SmartOperator::kContains);
  EXPECT_EQ(rule->text, "the  Beatles");

  rule = ParseSmartRuleText("title is \"Hey Jude\"", &problem);
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->text, "Hey Jude");

  rule = ParseSmartRuleText("year greater 1979", &problem);
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->number, 1979);
  rule = ParseSmartRuleText("duration less -5", &problem);
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->number, -5);
  // An empty text value is allowed (e.g. "genre is" for tracks without a genre).
  rule = ParseSmartRuleText("genre is", &problem);
  ASSERT_TRUE(rule);
  EXPECT_EQ(rule->text, "");
}

TEST(SmartRuleText, RefusalsSayWhatIsWrong) {
  const struct {
    const char* text;
    const char* problem;
  } cases[] = {
      {"colour is red", "unknown field \"colour\""},
      {"year contains 19", "field \"year\" takes no operator \"contains\""},
      {"title greater a", "field \"title\" takes no operator \"greater\""},
      {"genre like rock", "field \"genre\" takes no operator \"like\""},
      {"year is nineteen", "field \"year\" needs a whole number, not \"nineteen\""},
      {"year is 99999999999999999999", "field \"year\" needs a whole number"},
      {"year is", "field \"year\" needs a whole number"},
      {"title", "a rule is \"FIELD OPERATOR VALUE\""},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.text);
    std::string problem;
    EXPECT_FALSE(ParseSmartRuleText(c.text, &problem));
    EXPECT_TRUE(problem.starts_with(c.problem)) << problem;
  }
}

TEST(SmartRuleText, DescriptionListsEveryFieldWithItsOperators) {
  const std::string text = DescribeSmartFieldsAndOperators();
  EXPECT_NE(text.find("title: is, is_not, contains, not_contains, starts_with"), std::string::npos)
      << text;
  EXPECT_NE(text.find("year: is, is_not, greater, less"), std::string::npos) << text;
  for (const char* field : {"album", "artist", "album_artist", "genre", "duration", "bitrate",
                            "path", "container", "codec"}) {
    EXPECT_NE(text.find(std::string(field) + ": "), std::string::npos) << field;
  }
}

TEST(SmartPlaylistFile, RoundTripsThroughText) {
  SmartPlaylist playlist;
  playlist.name = "Eighties";
  playlist.match_all = false;
  std::string problem;
  playlist.rules = {*MakeSmartRule("year", "greater", "1979", &problem),
                    *MakeSmartRule("genre", "is", "Synth \"Pop\"", &problem)};
  playlist.order = SmartField::kYear;
  playlist.descending = true;
  playlist.limit = 50;
  auto file = ParseSmartPlaylistFile(FormatSmartPlaylistFile({playlist}), &problem);
  ASSERT_TRUE(file) << problem;
  ASSERT_EQ(file->playlists.size(), 1u);
  const SmartPlaylist& read = file->playlists[0];
  EXPECT_EQ(read.name, "Eighties");
  EXPECT_FALSE(read.match_all);
  ASSERT_EQ(read.rules.size(), 2u);
  EXPECT_EQ(read.rules[0].number, 1979);
  EXPECT_EQ(read.rules[1].text, "Synth \"Pop\"");
  EXPECT_EQ(read.order, SmartField::kYear);
  EXPECT_TRUE(read.descending);
  EXPECT_EQ(read.limit, 50);
}

TEST(SmartPlaylistFile, BadPlaylistsAreSkippedAndNamed) {
  std::string problem;
  auto file = ParseSmartPlaylistFile(R"({"playlists": [
      {"name": "Good", "rules": [{"field": "year", "operator": "is", "value": "1999"}]},
      {"name": "Bad op", "rules": [{"field": "year", "operator": "contains", "value": 1}]},
      {"name": "No rules", "rules": []},
      {"name": "../x", "rules": [{"field": "year", "operator": "is", "value": 1}]},
      {"name": "Bad match", "match": "some", "rules": [{"field": "year", "operator": "is", "value": 1}]},
      {"name": "Bad limit", "limit": -1, "rules": [{"field": "year", "operator": "is", "value": 1}]},
      {"name": "Bad order", "order": "mood", "rules": [{"field": "year", "operator": "is", "value": 1}]},
      {"name": "Good", "rules": [{"field": "year", "operator": "is", "value": 2000}]}
    ]})",
                                     &problem);
  ASSERT_TRUE(file) << problem;
  ASSERT_EQ(file->playlists.size(), 1u);
  EXPECT_EQ(file->playlists[0].rules[0].number, 1999);
  ASSERT_EQ(file->skipped.size(), 7u);
  EXPECT_NE(file->skipped[0].find("takes no operator"), std::string::npos);
  EXPECT_NE(file->skipped.back().find("appears twice"), std::string::npos);

  for (const char* text : {"", "[]", "{\"playlists\": 3}", "{not json", "{\"playlists\": []} x"}) {
    SCOPED_TRACE(text);
    EXPECT_FALSE(ParseSmartPlaylistFile(text, &problem));
  }
  EXPECT_TRUE(ParseSmartPlaylistFile("{\"playlists\": []}", &problem));
}

}  // namespace
}  // namespace Sonvik::playlist
