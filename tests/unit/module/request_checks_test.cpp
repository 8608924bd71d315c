// The check functions as the host runs them: type pass first, then the condition rules.
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "host/api/api_request.h"
#include "host/api/api_response.h"
#include "voice_module/module/request_checks.h"

namespace Sonvik {
namespace {

using Params = std::map<std::string, std::string>;
using CheckFn = bool (*)(QUOR::APIRequest*, QUOR::APIResponse*);

struct Outcome {
  bool accepted;
  QUOR::APIResponse response;
};

Outcome Run(CheckFn check, Params params) {
  QUOR::APIRequest request(std::move(params), {});
  Outcome outcome{false, {}};
  outcome.accepted = check(&request, &outcome.response);
  return outcome;
}

void ExpectRefused(CheckFn check, Params params, const std::string& name,
                   const std::string& reason) {
  auto outcome = Run(check, params);
  EXPECT_FALSE(outcome.accepted);
  ASSERT_EQ(outcome.response.state(), QUOR::APIResponse::State::kError);
  EXPECT_EQ(outcome.response.error_code(), 120);
  EXPECT_EQ(outcome.response.data().size(), 2u);
  EXPECT_EQ(outcome.response.data()["name"].asString(), name);
  EXPECT_EQ(outcome.response.data()["reason"].asString(), reason);
}

void ExpectAccepted(CheckFn check, Params params) {
  auto outcome = Run(check, params);
  EXPECT_TRUE(outcome.accepted);
  EXPECT_EQ(outcome.response.state(), QUOR::APIResponse::State::kUnanswered);
}

TEST(RequestChecks, TrackIdOfStreamAndCover) {
  for (CheckFn check : {CheckStreamTrackId, CheckCoverTrackId}) {
    ExpectRefused(check, {}, "track_id", "required");
    ExpectRefused(check, {{"track_id", "abc"}}, "track_id", "type");
    ExpectRefused(check, {{"track_id", "12abc"}}, "track_id", "type");
    ExpectRefused(check, {{"track_id", ""}}, "track_id", "type");
    ExpectRefused(check, {{"track_id", "99999999999"}}, "track_id", "type");
    ExpectRefused(check, {{"track_id", "0"}}, "track_id", "condition");
    ExpectRefused(check, {{"track_id", "-5"}}, "track_id", "condition");
    ExpectAccepted(check, {{"track_id", "1"}});
    ExpectAccepted(check, {{"track_id", "2147483647"}});
  }
}

TEST(RequestChecks, SearchTypeFaultWinsOverEarlierCondition) {
  ExpectRefused(CheckSearch, {{"limit", "0"}, {"offset", "x"}}, "offset", "type");
  ExpectRefused(CheckSearch, {{"limit", "5001"}, {"offset", "1.5"}}, "offset", "type");
  ExpectRefused(CheckSearch, {{"offset", "0"}}, "limit", "required");
  ExpectRefused(CheckSearch, {{"limit", "10"}}, "offset", "required");
  ExpectRefused(CheckSearch, {{"limit", "0"}, {"offset", "0"}}, "limit", "condition");
  ExpectRefused(CheckSearch, {{"limit", "5001"}, {"offset", "-1"}}, "limit", "condition");
  ExpectRefused(CheckSearch, {{"limit", "10"}, {"offset", "-1"}}, "offset", "condition");
}

TEST(RequestChecks, SearchBoundsAndSortKeys) {
  ExpectAccepted(CheckSearch, {{"limit", "5000"}, {"offset", "0"}});
  ExpectAccepted(CheckSearch, {{"limit", "1"}, {"offset", "0"}, {"title", "hey jude"}});
  ExpectAccepted(CheckSearch, {{"limit", "20"}, {"offset", "3"}, {"sort_by", "album"}});
  ExpectAccepted(CheckSearch, {{"limit", "20"}, {"offset", "3"}, {"sort_by", "track_id"}});
  ExpectRefused(CheckSearch, {{"limit", "20"}, {"offset", "0"}, {"sort_by", "title"}}, "sort_by",
                "condition");
  ExpectRefused(CheckSearch, {{"limit", "20"}, {"offset", "0"}, {"sort_by", "Album"}}, "sort_by",
                "condition");
  ExpectRefused(CheckSearch, {{"limit", "20"}, {"offset", "0"}, {"sort_by", ""}}, "sort_by",
                "condition");
}

TEST(RequestChecks, CountSearchNeedsNothing) {
  ExpectAccepted(CheckCountSearch, {});
  ExpectAccepted(CheckCountSearch, {{"title", ""}, {"limit", "junk"}});
}

TEST(RequestChecks, PlaylistKeywordAndIdMustNotBeEmpty) {
  ExpectRefused(CheckSearchPlaylist, {{"keyword", ""}, {"limit", "5"}, {"offset", "0"}}, "keyword",
                "condition");
  ExpectRefused(CheckGetPlaylist, {{"playlist_id", ""}, {"limit", "5"}, {"offset", "0"}},
                "playlist_id", "condition");
  ExpectRefused(CheckSearchPlaylist, {{"limit", "5"}, {"offset", "0"}}, "keyword", "required");
  ExpectRefused(CheckGetPlaylist, {{"playlist_id", "x"}, {"limit", "5"}, {"offset", "a"}}, "offset",
                "type");
  ExpectRefused(CheckGetPlaylist, {{"playlist_id", "x"}, {"limit", "0"}, {"offset", "0"}}, "limit",
                "condition");
  ExpectAccepted(CheckSearchPlaylist, {{"keyword", "rock"}, {"limit", "5000"}, {"offset", "0"}});
  ExpectAccepted(CheckGetPlaylist, {{"playlist_id", "p"}, {"limit", "1"}, {"offset", "9"}});
}

TEST(RequestChecks, InfoAndChallengeAcceptAnything) {
  ExpectAccepted(CheckAlways, {});
  ExpectAccepted(CheckAlways, {{"track_id", "abc"}});
}

}  // namespace
}  // namespace Sonvik
