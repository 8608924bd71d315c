// The worker channel's message forms, and where a request's credentials are found.
#include <gtest/gtest.h>

#include "host/server/credentials.h"
#include "host/server/http_request.h"
#include "host/server/worker_channel.h"

namespace QUOR::server {
namespace {

HttpRequest SampleRequest() {
  HttpRequest request;
  request.method = "POST";
  request.target = "/webapi/entry?x=1";
  request.http_major = 1;
  request.http_minor = 0;
  request.headers = {{"content-type", "application/x-www-form-urlencoded"}, {"x-empty", ""}};
  request.body = std::string("a=1\0b", 5);
  request.keep_alive = false;
  request.client_address = "::1";
  return request;
}

TEST(WorkerChannel, RequestMessageRoundTripsAndRejectsDamage) {
  HttpRequest request = SampleRequest();
  std::string bytes = EncodeRequestMessage(42, request);
  uint64_t id = 0;
  HttpRequest decoded;
  ASSERT_TRUE(DecodeRequestMessage(bytes, &id, &decoded));
  EXPECT_EQ(id, 42u);
  EXPECT_EQ(decoded.method, request.method);
  EXPECT_EQ(decoded.target, request.target);
  EXPECT_EQ(decoded.http_minor, 0);
  EXPECT_EQ(decoded.headers, request.headers);
  EXPECT_EQ(decoded.body, request.body);
  EXPECT_FALSE(decoded.keep_alive);
  EXPECT_EQ(decoded.client_address, "::1");
  for (size_t cut : {size_t{0}, size_t{7}, bytes.size() / 2, bytes.size() - 1}) {
    EXPECT_FALSE(DecodeRequestMessage(std::string_view(bytes).substr(0, cut), &id, &decoded))
        << cut;
  }
  EXPECT_FALSE(DecodeRequestMessage(bytes + "x", &id, &decoded));
}

TEST(WorkerChannel, ReplyRoundTrips) {
  ReplyMessage reply{7, true};
  ReplyMessage decoded;
  ASSERT_TRUE(DecodeReply(EncodeReply(reply), &decoded));
  EXPECT_EQ(decoded.connection_id, 7u);
  EXPECT_TRUE(decoded.keep_alive);
  EXPECT_FALSE(DecodeReply("short", &decoded));
}

TEST(WorkerChannel, PassesAMessageWithADescriptor) {
  Sonvik::util::UniqueFd master_end, worker_end;
  MakeChannelPair(&master_end, &worker_end);
  int pipe_fds[2];
  ASSERT_EQ(pipe(pipe_fds), 0);
  Sonvik::util::UniqueFd read_end(pipe_fds[0]), write_end(pipe_fds[1]);
  std::string message = EncodeRequestMessage(1, SampleRequest()) + std::string(80 * 1024, 'p');
  ASSERT_TRUE(SendChannelMessage(master_end.get(), message, write_end.get(), true));
  std::string received;
  Sonvik::util::UniqueFd passed;
  ASSERT_EQ(ReceiveChannelMessage(worker_end.get(), &received, &passed, false),
            ReceiveResult::kMessage);
  EXPECT_EQ(received, message);
  ASSERT_TRUE(passed.valid());
  ASSERT_EQ(write(passed.get(), "z", 1), 1);
  char byte = 0;
  ASSERT_EQ(read(read_end.get(), &byte, 1), 1);
  EXPECT_EQ(byte, 'z');
  master_end.Reset();
  EXPECT_EQ(ReceiveChannelMessage(worker_end.get(), &received, &passed, false),
            ReceiveResult::kClosed);
}

TEST(Credentials, CookieBearerAndParametersInOrderOfPreference) {
  HttpRequest request;
  request.headers = {{"cookie", "theme=dark; sonvik_sid=from-cookie; other=1"},
                     {"authorization", "Bearer from-header"}};
  std::map<std::string, std::string> params = {{"_sid", "from-param"}, {"_token", "tok-param"}};
  PresentedCredentials found = FindCredentials(request, params);
  EXPECT_EQ(found.session_id, "from-cookie");
  EXPECT_EQ(found.token, "from-header");
  PresentedCredentials from_params = FindCredentials(HttpRequest(), params);
  EXPECT_EQ(from_params.session_id, "from-param");
  EXPECT_EQ(from_params.token, "tok-param");
  PresentedCredentials none = FindCredentials(HttpRequest(), {{"_sid", ""}});
  EXPECT_FALSE(none.session_id);
  EXPECT_FALSE(none.token);
}

TEST(Credentials, CookieAndBearerParsing) {
  EXPECT_EQ(FindCookie("sonvik_sid=abc", "sonvik_sid"), "abc");
  EXPECT_EQ(FindCookie(" a=1 ;  sonvik_sid = \"q\" ", "sonvik_sid"), "q");
  EXPECT_EQ(FindCookie("xsonvik_sid=abc", "sonvik_sid"), std::nullopt);
  EXPECT_EQ(FindCookie("sonvik_sid=", "sonvik_sid"), std::nullopt);
  EXPECT_EQ(FindCookie("novalue; sonvik_sid=z", "sonvik_sid"), "z");
  EXPECT_EQ(BearerToken("Bearer t0k"), "t0k");
  EXPECT_EQ(BearerToken("bearer   t0k "), "t0k");
  EXPECT_EQ(BearerToken("Basic dXNlcjpw"), std::nullopt);
  EXPECT_EQ(BearerToken("Bearer"), std::nullopt);
  EXPECT_EQ(BearerToken("Bearer a b"), std::nullopt);
}

TEST(Credentials, LogSafeBoundsAndNeutralisesClientText) {
  EXPECT_EQ(LogSafe("alice"), "alice");
  EXPECT_EQ(LogSafe("a\nforged line"), "a?forged line");
  EXPECT_EQ(LogSafe(std::string(100, 'x')), std::string(64, 'x') + "...");
}

}  // namespace
}  // namespace QUOR::server
