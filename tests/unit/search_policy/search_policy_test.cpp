// The keyword engine: keyword slots, the attempts built from spoken phrases, and how they reach
// the track search engine.
#include "voice_module/search/search_policy.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <string>
#include <vector>

#include "engine_double.h"
#include "package/search/search_db_manager.h"
#include "support/syslog_capture.h"

namespace Sonvik::search {
namespace {

using Phrases = std::vector<std::vector<std::string>>;
using Sonvik::testing::CapturedLog;

// The attempts as phrases of slot `Kind`, attempt by attempt.
template <typename Kind>
Phrases PhrasesOf(const SearchAttempts& attempts) {
  Phrases phrases;
  for (const SearchAttempt& attempt : attempts) {
    std::vector<std::string> items;
    for (const AllSearchPolicyItem& item : attempt) {
      items.push_back(item.GetSearchPolicyItem<Kind>().GetKeyword());
    }
    phrases.push_back(items);
  }
  return phrases;
}

class SearchPolicyTest : public ::testing::Test {
 protected:
  void SetUp() override { Sonvik::testing::ClearCapturedLog(); }
};

TEST_F(SearchPolicyTest, KeywordSlots) {
  SearchPolicy policy(Alexa);
  EXPECT_EQ(policy.search_keyword().GetNumberOfItem(), 0u);
  policy.SetSearchKeyword<SearchArtist>("beatles");
  EXPECT_EQ(policy.search_keyword().GetNumberOfItem(), 1u);
  EXPECT_EQ(policy.search_keyword().GetSearchPolicyItem<SearchArtist>().GetKeyword(), "beatles");
  policy.SetSearchKeyword<SearchTitle>("hello");
  policy.SetSearchKeyword<SearchTitle>("");
  EXPECT_EQ(policy.search_keyword().GetSearchPolicyItem<SearchTitle>().GetKeyword(), "hello");
  policy.SetSearchKeyword<SearchAlbum>("  Abbey Road ");
  EXPECT_EQ(policy.search_keyword().GetNumberOfItem(), 3u);
  // Stored as given: no trimming, no case change.
  EXPECT_EQ(policy.search_keyword().GetSearchPolicyItem<SearchAlbum>().GetKeyword(),
            "  Abbey Road ");
}

TEST_F(SearchPolicyTest, OneKindGivesRunsOfWordsLongestFirst) {
  SearchPolicy policy(Alexa);
  policy.SetSearchKeyword<SearchTitle>("the best of");
  policy.ExtendSearchKeyword();
  EXPECT_EQ(PhrasesOf<SearchTitle>(policy.extended_keywords()),
            (Phrases{{"the best of"}, {"the best", "best of"}, {"the", "best", "of"}}));
  EXPECT_EQ(policy.keyword_index(), 0u);
  // The other slots of every item stay empty.
  for (const SearchAttempt& attempt : policy.extended_keywords()) {
    for (const AllSearchPolicyItem& item : attempt) {
      EXPECT_EQ(item.GetNumberOfItem(), 1u);
    }
  }
}

TEST_F(SearchPolicyTest, BlanksSeparateWordsAndNothingElseDoes) {
  SearchPolicy policy(Alexa);
  policy.SetSearchKeyword<SearchTitle>("  Hey   Jude ");
  policy.ExtendSearchKeyword();
  EXPECT_EQ(PhrasesOf<SearchTitle>(policy.extended_keywords()),
            (Phrases{{"Hey Jude"}, {"Hey", "Jude"}}));

  EXPECT_EQ(SplitKeyword("a\tb  c"), (std::vector<std::string>{"a\tb", "c"}));
  EXPECT_TRUE(SplitKeyword("   ").empty());
  EXPECT_TRUE(SplitKeyword("").empty());
}

TEST_F(SearchPolicyTest, EachKindExtendsItsOwnSlot) {
  SearchPolicy album(Alexa);
  album.SetSearchKeyword<SearchAlbum>("abbey road");
  album.ExtendSearchKeyword();
  EXPECT_EQ(PhrasesOf<SearchAlbum>(album.extended_keywords()),
            (Phrases{{"abbey road"}, {"abbey", "road"}}));
  EXPECT_EQ(PhrasesOf<SearchTitle>(album.extended_keywords()), (Phrases{{""}, {"", ""}}));

  SearchPolicy artist(Alexa);
  artist.SetSearchKeyword<SearchArtist>("pink floyd");
  artist.ExtendSearchKeyword();
  EXPECT_EQ(PhrasesOf<SearchArtist>(artist.extended_keywords()),
            (Phrases{{"pink floyd"}, {"pink", "floyd"}}));
}

TEST_F(SearchPolicyTest, AlexaTransformWordByWord) {
  SearchPolicy policy(Alexa);
  policy.SetSearchKeyword<SearchArtist>("REM don't U2");
  policy.ExtendSearchKeyword();
  EXPECT_EQ(PhrasesOf<SearchArtist>(policy.extended_keywords()),
            (Phrases{{"R E M don t U2"}, {"R E M don t", "don t U2"}, {"R E M", "don t", "U2"}}));

  EXPECT_EQ(NormalizeVoiceKeyword("ABBA"), "A B B A");
  EXPECT_EQ(NormalizeVoiceKeyword("X"), "X");
  EXPECT_EQ(NormalizeVoiceKeyword("U2"), "U2");
  EXPECT_EQ(NormalizeVoiceKeyword("don't"), "don t");
  EXPECT_EQ(NormalizeVoiceKeyword("AC'DC"), "AC DC");
  EXPECT_EQ(NormalizeVoiceKeyword("Abba"), "Abba");
  EXPECT_EQ(NormalizeVoiceKeyword("ÉTÉ"), "ÉTÉ");  // bytes above 127 are no capitals
  EXPECT_EQ(NormalizeVoiceKeyword(""), "");
}

TEST_F(SearchPolicyTest, OtherAssistantsKeepWordsAsSpoken) {
  SearchPolicy policy(static_cast<VoiceAssistant>(1));
  policy.SetSearchKeyword<SearchTitle>("ABBA don't");
  policy.ExtendSearchKeyword();
  EXPECT_EQ(PhrasesOf<SearchTitle>(policy.extended_keywords()),
            (Phrases{{"ABBA don't"}, {"ABBA", "don't"}}));
  // A later call with another value does not remove an installed transform.
  SearchPolicy alexa(Alexa);
  alexa.SetVoiceAssistantType(static_cast<VoiceAssistant>(7));
  alexa.SetSearchKeyword<SearchTitle>("ABBA");
  alexa.ExtendSearchKeyword();
  EXPECT_EQ(PhrasesOf<SearchTitle>(alexa.extended_keywords()), (Phrases{{"A B B A"}}));
}

TEST_F(SearchPolicyTest, SeveralKindsMakeOneAttemptAsSpoken) {
  SearchPolicy policy(Alexa);
  policy.SetSearchKeyword<SearchAlbum>("abbey road");
  policy.SetSearchKeyword<SearchArtist>("the beatles'");
  policy.SetSearchKeyword<SearchTitle>("ABBA");
  policy.ExtendSearchKeyword();
  ASSERT_EQ(policy.extended_keywords().size(), 1u);
  ASSERT_EQ(policy.extended_keywords()[0].size(), 1u);
  const AllSearchPolicyItem& item = policy.extended_keywords()[0][0];
  EXPECT_EQ(item.GetSearchPolicyItem<SearchAlbum>().GetKeyword(), "abbey road");
  EXPECT_EQ(item.GetSearchPolicyItem<SearchArtist>().GetKeyword(), "the beatles'");
  EXPECT_EQ(item.GetSearchPolicyItem<SearchTitle>().GetKeyword(), "ABBA");
}

TEST_F(SearchPolicyTest, RepeatedWordsAreNotMerged) {
  SearchPolicy policy(Alexa);
  policy.SetSearchKeyword<SearchTitle>("la la");
  policy.ExtendSearchKeyword();
  EXPECT_EQ(PhrasesOf<SearchTitle>(policy.extended_keywords()), (Phrases{{"la la"}, {"la", "la"}}));

  SearchPolicy one(Alexa);
  one.SetSearchKeyword<SearchTitle>("yesterday");
  one.ExtendSearchKeyword();
  EXPECT_EQ(PhrasesOf<SearchTitle>(one.extended_keywords()), (Phrases{{"yesterday"}}));

  SearchPolicy ten(Alexa);
  ten.SetSearchKeyword<SearchTitle>("a b c d e f g h i j");
  ten.ExtendSearchKeyword();
  ASSERT_EQ(ten.extended_keywords().size(), 10u);
  size_t items = 0;
  for (size_t k = 0; k < 10; ++k) {
    EXPECT_EQ(ten.extended_keywords()[k].size(), k + 1);
    items += ten.extended_keywords()[k].size();
  }
  EXPECT_EQ(items, 55u);
}

TEST_F(SearchPolicyTest, BlankKeywordMakesNoAttemptsSilently) {
  SearchPolicy policy(Alexa);
  policy.SetSearchKeyword<SearchTitle>("   ");
  policy.ExtendSearchKeyword();
  EXPECT_TRUE(policy.extended_keywords().empty());
  EXPECT_TRUE(CapturedLog().empty());
}

TEST_F(SearchPolicyTest, NoKeywordLogsAndMakesNoAttempts) {
  SearchPolicy empty(Alexa);
  empty.ExtendSearchKeyword();
  EXPECT_TRUE(empty.extended_keywords().empty());
  EXPECT_EQ(empty.keyword_index(), 0u);
  ASSERT_EQ(CapturedLog().size(), 1u);
  EXPECT_EQ(CapturedLog()[0].priority, LOG_ERR);
  EXPECT_TRUE(CapturedLog()[0].text.starts_with("search_policy:"));
  EXPECT_TRUE(CapturedLog()[0].text.ends_with(" illegal search keyword: empty keyword set"));
}

TEST_F(SearchPolicyTest, AttemptsReachTheEngineOneByOne) {
  SearchPolicy policy(Alexa);
  policy.SetSearchKeyword<SearchTitle>("hey jude");
  policy.ExtendSearchKeyword();
  SearchDBManager manager(0);

  manager.Init();
  policy.SetSearchKeywordToDBManager(manager);
  ASSERT_EQ(manager.conditions.size(), 1u);
  EXPECT_EQ(manager.conditions[0].title, "hey jude");
  EXPECT_EQ(manager.conditions[0].album, "");
  EXPECT_EQ(manager.conditions[0].artist, "");
  EXPECT_EQ(policy.keyword_index(), 1u);

  manager.Init();
  policy.SetSearchKeywordToDBManager(manager);
  ASSERT_EQ(manager.conditions.size(), 2u);
  EXPECT_EQ(manager.conditions[0].title, "hey");
  EXPECT_EQ(manager.conditions[1].title, "jude");

  // Used up: logged, nothing appended, index stays.
  policy.SetSearchKeywordToDBManager(manager);
  EXPECT_EQ(manager.conditions.size(), 2u);
  EXPECT_EQ(policy.keyword_index(), 2u);
  ASSERT_EQ(CapturedLog().size(), 1u);
  EXPECT_TRUE(CapturedLog()[0].text.starts_with("search_policy:"));
  EXPECT_TRUE(CapturedLog()[0].text.ends_with(" has no more search keyword. index [2] size [2]"));
}

TEST_F(SearchPolicyTest, AppendsWithoutClearingTheEngine) {
  SearchPolicy policy(Alexa);
  policy.SetSearchKeyword<SearchAlbum>("abbey road");
  policy.SetSearchKeyword<SearchArtist>("beatles");
  policy.ExtendSearchKeyword();
  SearchDBManager manager(0);
  manager.conditions.emplace_back("x", "y", "z");
  policy.SetSearchKeywordToDBManager(manager);
  ASSERT_EQ(manager.conditions.size(), 2u);
  EXPECT_EQ(manager.conditions[1].album, "abbey road");
  EXPECT_EQ(manager.conditions[1].artist, "beatles");
  EXPECT_EQ(manager.conditions[1].title, "");
  policy.SetSearchKeywordToDBManager(manager);
  EXPECT_EQ(manager.conditions.size(), 2u);
  ASSERT_EQ(CapturedLog().size(), 1u);
  EXPECT_TRUE(CapturedLog()[0].text.ends_with("index [1] size [1]"));
}

TEST_F(SearchPolicyTest, HandingOutBeforeExtensionOnlyLogs) {
  SearchPolicy policy(Alexa);
  SearchDBManager manager(0);
  policy.SetSearchKeywordToDBManager(manager);
  EXPECT_TRUE(manager.conditions.empty());
  ASSERT_EQ(CapturedLog().size(), 1u);
  EXPECT_TRUE(CapturedLog()[0].text.ends_with("index [0] size [0]"));
}

TEST_F(SearchPolicyTest, ExtendingAgainRewindsButAnEmptySetDoesNot) {
  SearchPolicy policy(Alexa);
  policy.SetSearchKeyword<SearchTitle>("hey jude");
  policy.ExtendSearchKeyword();
  SearchDBManager manager(0);
  policy.SetSearchKeywordToDBManager(manager);
  EXPECT_EQ(policy.keyword_index(), 1u);
  policy.ExtendSearchKeyword();
  EXPECT_EQ(policy.keyword_index(), 0u);
  EXPECT_EQ(policy.extended_keywords().size(), 2u);
}

TEST(ToUpperTest, PosixBytesOnly) {
  EXPECT_EQ(ToUpper("Hey jude 2!"), "HEY JUDE 2!");
  EXPECT_EQ(ToUpper("été"), "éTé");
  EXPECT_EQ(ToUpper(""), "");
}

}  // namespace
}  // namespace Sonvik::search
