// Logging in and out, sessions and API tokens, over HTTP against the real server.
#include <gtest/gtest.h>

#include "e2e/support/server_test.h"

namespace Sonvik::e2e {
namespace {

constexpr const char* kInfoApi = "QUOR.Sonvik.VoiceAssistant.Info";

class AuthTest : public ServerTest {};

TEST_F(AuthTest, LoginAnswersSidAndHttpOnlyCookieThatBothOpenModuleApis) {
  auto client = Client();
  HttpResponse login =
      client->CallPost("QUOR.API.Auth", "login", {{"account", kUser}, {"passwd", kPassword}});
  ASSERT_EQ(login.status, 200);
  ASSERT_TRUE(login.Success()) << login.body;
  std::string sid = login.Json()["data"]["sid"].asString();
  ASSERT_FALSE(sid.empty());
  std::string cookie = login.Header("Set-Cookie");
  EXPECT_EQ(cookie.rfind("sonvik_sid=" + sid + ";", 0), 0u) << cookie;
  EXPECT_NE(cookie.find("HttpOnly"), std::string::npos) << cookie;

  EXPECT_TRUE(client->Call(kInfoApi, "get", {{"_sid", sid}}).Success());
  HttpResponse by_cookie = Client()->Call(kInfoApi, "get", {}, 1, {"Cookie: sonvik_sid=" + sid});
  EXPECT_TRUE(by_cookie.Success()) << by_cookie.body;
}

TEST_F(AuthTest, ModuleApisWithoutOrWithBadCredentialsAnswer105) {
  auto client = Client();
  EXPECT_EQ(client->Call(kInfoApi, "get").ErrorCode(), 105);
  EXPECT_EQ(client->Call(kInfoApi, "get", {{"_sid", "not-a-session"}}).ErrorCode(), 105);
  EXPECT_EQ(client->Call(kInfoApi, "get", {{"_token", "not-a-token"}}).ErrorCode(), 105);
  EXPECT_EQ(client->Call(kInfoApi, "get", {}, 1, {"Authorization: Bearer nope"}).ErrorCode(), 105);
  // The host's own Info API needs no login.
  EXPECT_TRUE(client->Call("QUOR.API.Info", "query").Success());
}

TEST_F(AuthTest, WrongPasswordOrUnknownAccountAnswer106AndAreLoggedWithoutThePassword) {
  auto client = Client();
  HttpResponse wrong =
      client->CallPost("QUOR.API.Auth", "login", {{"account", kUser}, {"passwd", "guess-1"}});
  EXPECT_EQ(wrong.ErrorCode(), 106);
  HttpResponse unknown =
      client->CallPost("QUOR.API.Auth", "login", {{"account", "nobody"}, {"passwd", "guess-2"}});
  EXPECT_EQ(unknown.ErrorCode(), 106);
  EXPECT_TRUE(syslog().WaitFor("login failed for account nobody"));
  for (const SyslogLine& line : syslog().Lines()) {
    EXPECT_EQ(line.message.find("guess-"), std::string::npos) << line.message;
  }
}

TEST_F(AuthTest, RepeatedFailuresAreRateLimitedEvenForTheRightPassword) {
  auto client = Client();
  bool limited = false;
  // The store locks an account out after a run of failures; stop once it has.
  for (int attempt = 0; attempt < 30 && !limited; ++attempt) {
    client->CallPost("QUOR.API.Auth", "login", {{"account", kUser}, {"passwd", "wrong"}});
    limited = !syslog().Matching("too many failed attempts").empty();
  }
  ASSERT_TRUE(limited) << "no rate limit after 30 failures";
  HttpResponse right =
      client->CallPost("QUOR.API.Auth", "login", {{"account", kUser}, {"passwd", kPassword}});
  EXPECT_EQ(right.ErrorCode(), 106);
}

TEST_F(AuthTest, LogoutEndsTheSession) {
  std::string sid;
  auto client = LoggedInClient(&sid);
  EXPECT_TRUE(client->Call(kInfoApi, "get").Success());
  HttpResponse logout = client->Call("QUOR.API.Auth", "logout");
  EXPECT_TRUE(logout.Success()) << logout.body;
  EXPECT_NE(logout.Header("Set-Cookie").find("Max-Age=0"), std::string::npos);
  EXPECT_EQ(client->Call(kInfoApi, "get").ErrorCode(), 105);
  EXPECT_EQ(client->Call("QUOR.API.Auth", "logout").ErrorCode(), 105);
}

TEST_F(AuthTest, TokenFromTheCommandLineWorksAsBearerAndAsParameter) {
  CommandResult created = RunSonvikOrFail({"token", "create", "--user", kUser});
  std::string token = created.out;
  // The token is the last word printed.
  while (!token.empty() && (token.back() == '\n' || token.back() == ' ')) token.pop_back();
  token = token.substr(token.find_last_of(" \n") + 1);
  ASSERT_FALSE(token.empty());
  auto client = Client();
  HttpResponse bearer = client->Call(kInfoApi, "get", {}, 1, {"Authorization: Bearer " + token});
  EXPECT_TRUE(bearer.Success()) << bearer.body;
  HttpResponse parameter = client->Call(kInfoApi, "get", {{"_token", token}});
  EXPECT_TRUE(parameter.Success()) << parameter.body;
  // Neither the token nor a sid shows up in the log.
  for (const SyslogLine& line : syslog().Lines()) {
    EXPECT_EQ(line.message.find(token), std::string::npos) << line.message;
  }
}

}  // namespace
}  // namespace Sonvik::e2e
