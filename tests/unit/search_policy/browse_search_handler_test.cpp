// search and count_search against a scripted engine: which attempts run, in which order, what
// stops the loop, and what the methods answer.
#include "voice_module/handlers/browse_search_handler.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <map>
#include <string>

#include "engine_double.h"
#include "host/api/api_request.h"
#include "host/api/api_response.h"
#include "support/syslog_capture.h"
#include "voice_module/handlers/browse_handler.h"
#include "voice_module/module/handlers.h"

namespace Sonvik {
namespace {

using Sonvik::testing::CapturedLog;
using Sonvik::testing::Condition;
using Sonvik::testing::Engine;
using Sonvik::testing::Query;
using Sonvik::testing::ScriptedAnswer;
using Params = std::map<std::string, std::string>;

constexpr unsigned kUid = 1042;

class SearchMethods : public ::testing::Test {
 protected:
  void SetUp() override {
    Sonvik::testing::ResetEngineDouble();
    Sonvik::testing::ClearCapturedLog();
  }

  static QUOR::APIResponse Call(void (*handler)(QUOR::APIRequest*, QUOR::APIResponse*),
                                Params params) {
    QUOR::LoginInfo login;
    login.uid = kUid;
    login.user_name = "alice";
    QUOR::APIRequest request(std::move(params), login);
    QUOR::APIResponse response;
    handler(&request, &response);
    return response;
  }

  static std::vector<std::vector<std::string>> TitlesPerQuery() {
    std::vector<std::vector<std::string>> titles;
    for (const Query& query : Engine().queries) {
      std::vector<std::string> one;
      for (const Condition& condition : query.conditions) one.push_back(condition.title);
      titles.push_back(one);
    }
    return titles;
  }

  static void ExpectError(const QUOR::APIResponse& response, int code) {
    ASSERT_EQ(response.state(), QUOR::APIResponse::State::kError);
    EXPECT_EQ(response.error_code(), code);
    EXPECT_TRUE(response.data().isNull());
  }
};

TEST_F(SearchMethods, FirstAttemptWithTracksWins) {
  Engine().script = {ScriptedAnswer{2}};
  auto response = Call(SearchAudio, {{"title", "hey jude"}, {"offset", "0"}, {"limit", "20"}});
  ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
  EXPECT_EQ(TitlesPerQuery(), (std::vector<std::vector<std::string>>{{"hey jude"}}));
  EXPECT_EQ(Engine().uid, kUid);
  const Json::Value& data = response.data();
  EXPECT_EQ(data.size(), 1u);
  ASSERT_EQ(data["track"].size(), 2u);
  EXPECT_EQ(data["track"][0]["id"].asInt(), 1);
  EXPECT_EQ(data["track"][1]["id"].asInt(), 2);
  EXPECT_TRUE(CapturedLog().empty());
}

TEST_F(SearchMethods, EmptyPagesFallThroughToBroaderAttempts) {
  Engine().script = {ScriptedAnswer{0}, ScriptedAnswer{0}, ScriptedAnswer{3}};
  auto response =
      Call(SearchAudio,
           {{"title", "the best of"}, {"offset", "40"}, {"limit", "7"}, {"sort_by", "album"}});
  ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
  EXPECT_EQ(TitlesPerQuery(),
            (std::vector<std::vector<std::string>>{
                {"the best of"}, {"the best", "best of"}, {"the", "best", "of"}}));
  // Every attempt gets the same page and order, with all three fields asked for.
  for (const Query& query : Engine().queries) {
    EXPECT_EQ(query.kind, Query::Kind::kSearch);
    EXPECT_EQ(query.setting.offset, 40);
    EXPECT_EQ(query.setting.limit, 7);
    EXPECT_EQ(query.setting.sort_by, search::SORT_BY_ALBUM);
    EXPECT_TRUE(query.fill_album && query.fill_artist && query.fill_title);
  }
  EXPECT_EQ(response.data()["track"].size(), 3u);
}

TEST_F(SearchMethods, NoAttemptFindsAnything) {
  auto response = Call(SearchAudio, {{"artist", "pink floyd"}, {"offset", "0"}, {"limit", "5"}});
  ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
  EXPECT_EQ(Engine().queries.size(), 2u);
  EXPECT_TRUE(response.data()["track"].isArray());
  EXPECT_EQ(response.data()["track"].size(), 0u);
  EXPECT_TRUE(CapturedLog().empty());  // the loop never asks past the last attempt
}

TEST_F(SearchMethods, DefaultSortIsTrackId) {
  Call(SearchAudio, {{"album", "abbey road"}, {"offset", "0"}, {"limit", "5"}});
  ASSERT_EQ(Engine().queries.size(), 2u);
  EXPECT_EQ(Engine().queries[0].setting.sort_by, search::SORT_BY_TRACK_ID);
  EXPECT_EQ(Engine().queries[0].conditions[0], (Condition{"abbey road", "", ""}));
}

TEST_F(SearchMethods, SeveralKindsRunOnceTogether) {
  auto response = Call(SearchAudio, {{"album", "abbey road"},
                                     {"artist", "beatles"},
                                     {"title", "don't"},
                                     {"offset", "0"},
                                     {"limit", "5"}});
  ASSERT_EQ(Engine().queries.size(), 1u);
  EXPECT_EQ(Engine().queries[0].conditions,
            (std::vector<Condition>{{"abbey road", "beatles", "don't"}}));
}

TEST_F(SearchMethods, FailingAttemptStopsTheLoop) {
  Engine().script = {ScriptedAnswer{0}, ScriptedAnswer{0, true, search::SEARCH_ERROR_QUERY},
                     ScriptedAnswer{5}};
  auto response = Call(SearchAudio, {{"title", "a b c"}, {"offset", "0"}, {"limit", "5"}});
  ExpectError(response, 100);
  EXPECT_EQ(Engine().queries.size(), 2u);
  ASSERT_EQ(CapturedLog().size(), 1u);
  EXPECT_EQ(CapturedLog()[0].priority, LOG_ERR);
  EXPECT_EQ(CapturedLog()[0].text, "browse_handler:80 Failed to get track by condition.. error 2");
}

TEST_F(SearchMethods, EngineErrorsTranslate) {
  const std::pair<search::SearchError, int> cases[] = {{search::SEARCH_ERROR_NONE, 0},
                                                       {search::SEARCH_ERROR_DATABASE, 100},
                                                       {search::SEARCH_ERROR_QUERY, 100},
                                                       {search::SEARCH_ERROR_INTERNAL, 100},
                                                       {search::SEARCH_ERROR_BAD_CONDITION, 101},
                                                       {static_cast<search::SearchError>(7), 100},
                                                       {static_cast<search::SearchError>(-1), 100}};
  for (const auto& [error, code] : cases) {
    EXPECT_EQ(SearchErrorToWebapiError(error), code) << error;
  }
  // Code 0 still goes out as an error.
  Engine().script = {ScriptedAnswer{0, true, search::SEARCH_ERROR_NONE}};
  auto response = Call(SearchAudio, {{"title", "x"}, {"offset", "0"}, {"limit", "5"}});
  ExpectError(response, 0);
  Engine().script = {ScriptedAnswer{0, true, search::SEARCH_ERROR_BAD_CONDITION}};
  response = Call(CountSearchAudio, {{"title", "x"}});
  ExpectError(response, 101);
}

TEST_F(SearchMethods, NoKeywordIsABadRequest) {
  ExpectError(Call(SearchAudio, {{"title", ""}, {"album", ""}, {"offset", "0"}, {"limit", "5"}}),
              101);
  ExpectError(Call(CountSearchAudio, {}), 101);
  EXPECT_TRUE(Engine().queries.empty());
  EXPECT_TRUE(CapturedLog().empty());
}

TEST_F(SearchMethods, UnknownSortKeyIsABadRequest) {
  ExpectError(Call(SearchAudio, {{"title", "x"}, {"sort_by", "Album"}}), 101);
  ExpectError(Call(SearchAudio, {{"title", "x"}, {"sort_by", ""}}), 101);
  EXPECT_TRUE(Engine().queries.empty());
}

TEST_F(SearchMethods, SortKeys) {
  EXPECT_EQ(SortByStringToSortBy("track_id"), search::SORT_BY_TRACK_ID);
  EXPECT_EQ(SortByStringToSortBy("album"), search::SORT_BY_ALBUM);
  EXPECT_EQ(SortByStringToSortBy("Album"), search::SORT_BY_NONE);
  EXPECT_EQ(SortByStringToSortBy(""), search::SORT_BY_NONE);
  EXPECT_EQ(SortByStringToSortBy("track_id "), search::SORT_BY_NONE);
}

TEST_F(SearchMethods, CountStopsAtTheFirstMatchAndAsksNoFields) {
  Engine().script = {ScriptedAnswer{0}, ScriptedAnswer{12}, ScriptedAnswer{99}};
  auto response = Call(CountSearchAudio, {{"title", "the best of"}});
  ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
  EXPECT_EQ(response.data()["count"].asInt(), 12);
  EXPECT_EQ(response.data().size(), 1u);
  ASSERT_EQ(Engine().queries.size(), 2u);
  for (const Query& query : Engine().queries) {
    EXPECT_EQ(query.kind, Query::Kind::kCount);
    EXPECT_FALSE(query.fill_album || query.fill_artist || query.fill_title);
  }
}

TEST_F(SearchMethods, CountWithoutMatchesIsZero) {
  auto response = Call(CountSearchAudio, {{"artist", "a b"}});
  ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
  EXPECT_EQ(response.data()["count"].asInt(), 0);
  EXPECT_EQ(Engine().queries.size(), 2u);
}

TEST_F(SearchMethods, CountFailureLogsItsOwnLine) {
  Engine().script = {ScriptedAnswer{0, true, search::SEARCH_ERROR_DATABASE}, ScriptedAnswer{4}};
  auto response = Call(CountSearchAudio, {{"album", "greatest hits"}});
  ExpectError(response, 100);
  EXPECT_EQ(Engine().queries.size(), 1u);
  ASSERT_EQ(CapturedLog().size(), 1u);
  EXPECT_EQ(CapturedLog()[0].text,
            "browse_handler:95 Failed to count track by condition.. error 1");
}

TEST_F(SearchMethods, BlankKeywordMakesNoAttempts) {
  // A keyword of blanks is a keyword: the request is read, but no attempt exists to run.
  auto response = Call(SearchAudio, {{"title", "   "}, {"offset", "0"}, {"limit", "5"}});
  ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
  EXPECT_EQ(response.data()["track"].size(), 0u);
  response = Call(CountSearchAudio, {{"title", "   "}});
  EXPECT_EQ(response.data()["count"].asInt(), 0);
  EXPECT_TRUE(Engine().queries.empty());
}

TEST_F(SearchMethods, OnlyNamedKindsReachThePolicy) {
  QUOR::APIRequest request({{"title", ""}, {"artist", "beatles"}}, {});
  QUOR::APIResponse response;
  SearchHandler handler(&request, &response);
  ASSERT_TRUE(SetSearchHandler(&request, handler));
  const search::AllSearchPolicyItem& keywords = handler.search_policy().search_keyword();
  EXPECT_EQ(keywords.GetNumberOfItem(), 1u);
  EXPECT_EQ(keywords.GetSearchPolicyItem<search::SearchArtist>().GetKeyword(), "beatles");

  QUOR::APIRequest none({{"title", ""}, {"album", ""}}, {});
  SearchHandler other(&none, &response);
  EXPECT_FALSE(SetSearchHandler(&none, other));
  EXPECT_EQ(other.search_policy().search_keyword().GetNumberOfItem(), 0u);
  EXPECT_EQ(response.state(), QUOR::APIResponse::State::kUnanswered);
}

}  // namespace
}  // namespace Sonvik
