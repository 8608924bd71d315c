// How the host finds and runs methods: unknown api/method/version, the module's checks, the
// envelope, the host's Info API and the access log.
#include <gtest/gtest.h>

#include "e2e/support/server_test.h"

namespace Sonvik::e2e {
namespace {

constexpr const char* kBrowse = "QUOR.Sonvik.VoiceAssistant.Browse";
constexpr const char* kStream = "QUOR.Sonvik.VoiceAssistant.Stream";

class DispatchTest : public ServerTest {};

TEST_F(DispatchTest, InfoQueryListsHostAndModuleApisWithVersions) {
  HttpResponse response = Client()->Call("QUOR.API.Info", "query");
  ASSERT_EQ(response.status, 200);
  EXPECT_EQ(response.Header("Content-Type").rfind("application/json", 0), 0u);
  Json::Value data = response.Json()["data"];
  for (const char* api :
       {"QUOR.API.Info", "QUOR.API.Auth", kBrowse, kStream, "QUOR.Sonvik.VoiceAssistant.Info",
        "QUOR.Sonvik.VoiceAssistant.Challenge"}) {
    EXPECT_EQ(data[api]["minVersion"].asInt(), 1) << api;
    EXPECT_EQ(data[api]["maxVersion"].asInt(), 1) << api;
  }
  Json::Value one = Client()->Call("QUOR.API.Info", "query", {{"query", kStream}}).Json()["data"];
  EXPECT_EQ(one.getMemberNames(), std::vector<std::string>{kStream});
}

TEST_F(DispatchTest, InfoGetAnswersBuildNumberAndCapabilities) {
  HttpResponse response = LoggedInClient()->Call("QUOR.Sonvik.VoiceAssistant.Info", "get");
  ASSERT_TRUE(response.Success()) << response.body;
  Json::Value data = response.Json()["data"];
  EXPECT_GE(data["version"].asInt(), 1);
  ASSERT_TRUE(data["transcode_capability"].isArray());
  EXPECT_EQ(data["transcode_capability"][0].asString(), "wav");
}

TEST_F(DispatchTest, UnknownApiMethodOrVersionAnswer102To104) {
  auto client = LoggedInClient();
  EXPECT_EQ(client->Call("QUOR.Sonvik.VoiceAssistant.Nothing", "get").ErrorCode(), 102);
  EXPECT_EQ(client->Call(kBrowse, "no_such_method").ErrorCode(), 103);
  EXPECT_EQ(client->Call(kBrowse, "search", {}, 2).ErrorCode(), 104);
  EXPECT_EQ(client->Get("/webapi/entry?api=" + std::string(kBrowse) + "&method=search").ErrorCode(),
            104);
  EXPECT_EQ(client->Get("/webapi/entry?version=1&method=search").ErrorCode(), 102);
  // The unknown ones are answered before any login is asked for.
  EXPECT_EQ(Client()->Call("QUOR.Nothing", "get").ErrorCode(), 102);
  // The envelope of an error carries no "detail" without data.
  Json::Value error = client->Call("QUOR.Nothing", "get").Json();
  EXPECT_FALSE(error["error"].isMember("detail"));
  EXPECT_FALSE(error["success"].asBool());
}

struct CheckCase {
  const char* api;
  const char* method;
  Params params;
  const char* name;
  const char* reason;
};

TEST_F(DispatchTest, EveryCheckRefusalArrivesAs120WithItsDetail) {
  const CheckCase cases[] = {
      {kStream, "stream", {}, "track_id", "required"},
      {kStream, "stream", {{"track_id", "abc"}}, "track_id", "type"},
      {kStream, "stream", {{"track_id", "0"}}, "track_id", "condition"},
      {kStream, "transcode", {{"track_id", "-5"}}, "track_id", "condition"},
      {kBrowse, "get_cover", {{"track_id", "0"}}, "track_id", "condition"},
      {kBrowse, "get_cover", {{"track_id", "1x"}}, "track_id", "type"},
      {kBrowse, "search", {{"limit", "0"}, {"offset", "x"}}, "offset", "type"},
      {kBrowse, "search", {{"limit", "5001"}, {"offset", "0"}}, "limit", "condition"},
      {kBrowse, "search", {{"limit", "10"}, {"offset", "-1"}}, "offset", "condition"},
      {kBrowse,
       "search",
       {{"limit", "10"}, {"offset", "0"}, {"sort_by", "title"}},
       "sort_by",
       "condition"},
      {kBrowse, "search", {{"offset", "0"}}, "limit", "required"},
      {kBrowse,
       "search_playlist",
       {{"keyword", ""}, {"limit", "1"}, {"offset", "0"}},
       "keyword",
       "condition"},
      {kBrowse, "search_playlist", {{"keyword", "x"}, {"limit", "1"}}, "offset", "required"},
      {kBrowse,
       "get_playlist",
       {{"playlist_id", ""}, {"limit", "1"}, {"offset", "0"}},
       "playlist_id",
       "condition"},
      {kBrowse,
       "get_playlist",
       {{"playlist_id", "p"}, {"limit", "9999"}, {"offset", "0"}},
       "limit",
       "condition"},
  };
  auto client = LoggedInClient();
  for (const CheckCase& c : cases) {
    HttpResponse response = client->Call(c.api, c.method, c.params);
    SCOPED_TRACE(std::string(c.method) + " " + response.body);
    ASSERT_EQ(response.status, 200);
    Json::Value json = response.Json();
    EXPECT_EQ(json["error"]["code"].asInt(), 120);
    Json::Value expected(Json::objectValue);
    expected["name"] = c.name;
    expected["reason"] = c.reason;
    EXPECT_EQ(json["error"]["detail"], expected);
  }
}

TEST_F(DispatchTest, PostFormsWorkLikeQueryStringsAndOtherBodiesAre114) {
  auto client = LoggedInClient();
  EXPECT_TRUE(client->CallPost("QUOR.Sonvik.VoiceAssistant.Info", "get").Success());
  HttpResponse json_body = client->Post("/webapi/entry?api=QUOR.API.Info&version=1&method=query",
                                        "{\"a\":1}", "application/json");
  EXPECT_EQ(json_body.ErrorCode(), 114);
  HttpResponse bad_escape = client->Get("/webapi/entry?api=QUOR.API.Info&version=1&method=q%zz");
  EXPECT_EQ(bad_escape.ErrorCode(), 114);
}

TEST_F(DispatchTest, OtherPathsAndMethodsGetPlainHttpAnswers) {
  auto client = Client();
  EXPECT_EQ(client->Get("/").status, 404);
  EXPECT_EQ(client->Get("/webapi/other?api=QUOR.API.Info").status, 404);
  RawConnection raw(server().port());
  ASSERT_TRUE(raw.Send("DELETE /webapi/entry HTTP/1.1\r\nHost: x\r\n\r\n"));
  std::string answer = raw.ReadResponses(1);
  EXPECT_EQ(answer.rfind("HTTP/1.1 405 ", 0), 0u) << answer;
}

TEST_F(DispatchTest, HeadAnswersHeadersWithoutBody) {
  auto client = Client();
  HttpResponse head = client->Head("/webapi/entry?api=QUOR.API.Info&version=1&method=query");
  EXPECT_EQ(head.status, 200);
  EXPECT_TRUE(head.body.empty());
  EXPECT_NE(head.Header("Content-Length"), "0");
  // The connection stays usable: no stray body bytes arrive before the next answer.
  EXPECT_TRUE(client->Call("QUOR.API.Info", "query").Success());
}

TEST_F(DispatchTest, RawHandlerOutputBecomesTheHttpAnswerWithoutEnvelope) {
  auto client = LoggedInClient();
  // No such track: the stream handler answers with its own 404 header block.
  HttpResponse missing = client->Call(kStream, "stream", {{"track_id", "999999"}});
  EXPECT_EQ(missing.status_line, "HTTP/1.1 404 Not Found");
  EXPECT_EQ(missing.body.find("success"), std::string::npos) << missing.body;
  EXPECT_FALSE(missing.Header("Date").empty());
  HttpResponse head = client->Head(
      "/webapi/entry?" +
      HttpClient::EntryQuery(kStream, "stream", {{"track_id", "999999"}, {"_sid", Sid()}}, 1));
  EXPECT_EQ(head.status, 404);
  EXPECT_TRUE(head.body.empty());
  // The framing was kept: the same connection serves the next request.
  EXPECT_TRUE(client->Call("QUOR.Sonvik.VoiceAssistant.Info", "get").Success());
  EXPECT_TRUE(syslog().WaitFor("GET QUOR.Sonvik.VoiceAssistant.Stream/stream 404 "));
}

TEST_F(DispatchTest, EachRequestLeavesAnAccessLineWithoutSecrets) {
  std::string sid;
  auto client = LoggedInClient(&sid);
  client->Call("QUOR.Sonvik.VoiceAssistant.Info", "get");
  client->Call(kStream, "stream", {{"track_id", "abc"}});
  ASSERT_TRUE(syslog().WaitFor("GET QUOR.Sonvik.VoiceAssistant.Stream/stream 200 error 120"));
  EXPECT_TRUE(syslog().WaitFor("GET QUOR.Sonvik.VoiceAssistant.Info/get 200 "));
  EXPECT_TRUE(syslog().WaitFor("POST QUOR.API.Auth/login 200 "));
  ASSERT_FALSE(syslog().Lines().empty());
  for (const SyslogLine& line : syslog().Lines()) {
    EXPECT_EQ(line.ident, "sonvik") << line.message;
    EXPECT_EQ(line.message.find(sid), std::string::npos) << line.message;
    EXPECT_EQ(line.message.find(kPassword), std::string::npos) << line.message;
  }
}

}  // namespace
}  // namespace Sonvik::e2e
