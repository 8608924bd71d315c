// Abuse limits: oversized or malformed requests get the fitting answer and the server goes on;
// slow heads never hold up other clients and are cut at the head deadline.
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <thread>
#include <vector>

#include "e2e/support/server_test.h"

namespace Sonvik::e2e {
namespace {

class LimitsTest : public ServerTest {};

std::string StatusLine(const std::string& answer) { return answer.substr(0, answer.find("\r\n")); }

TEST_F(LimitsTest, OversizedParameterIs114AndTheConnectionAndServerGoOn) {
  auto client = LoggedInClient();
  HttpResponse big =
      client->Call("QUOR.Sonvik.VoiceAssistant.Browse", "search",
                   {{"title", std::string(5 * 1024, 'a')}, {"limit", "1"}, {"offset", "0"}});
  EXPECT_EQ(big.status, 200);
  EXPECT_EQ(big.ErrorCode(), 114);
  HttpResponse big_post =
      client->CallPost("QUOR.API.Info", "query", {{"query", std::string(5 * 1024, 'b')}});
  EXPECT_EQ(big_post.ErrorCode(), 114);
  // 1 KiB exactly is within the limit.
  HttpResponse at_limit =
      client->Call("QUOR.API.Info", "query", {{"query", std::string(1024, 'c')}});
  EXPECT_TRUE(at_limit.Success()) << at_limit.body;
  EXPECT_TRUE(client->Call("QUOR.Sonvik.VoiceAssistant.Info", "get").Success());
}

TEST_F(LimitsTest, BrokenHeadLimitsGetTheirHttpStatusAndTheServerGoesOn) {
  std::string many_fields = "GET /webapi/entry HTTP/1.1\r\n";
  for (int i = 0; i < 101; ++i) many_fields += "X-Field-" + std::to_string(i) + ": v\r\n";
  struct Case {
    const char* name;
    std::string bytes;
    const char* status_line;
  };
  const Case cases[] = {
      {"too many fields", many_fields + "\r\n", "HTTP/1.1 431 Request Header Fields Too Large"},
      {"head too large",
       "GET /webapi/entry HTTP/1.1\r\nX-Big: " + std::string(17 * 1024, 'h') + "\r\n\r\n",
       "HTTP/1.1 431 Request Header Fields Too Large"},
      {"target too long", "GET /webapi/entry?q=" + std::string(9 * 1024, 'u') + " HTTP/1.1\r\n\r\n",
       "HTTP/1.1 414 URI Too Long"},
      {"body too large",
       "POST /webapi/entry HTTP/1.1\r\nContent-Type: application/x-www-form-urlencoded\r\n"
       "Content-Length: 70000\r\n\r\napi=",
       "HTTP/1.1 413 Content Too Large"},
      {"not http", "HELLO THERE\r\n\r\n", "HTTP/1.1 400 Bad Request"},
      {"blank in a field name", "GET /webapi/entry HTTP/1.1\r\nBad Name: 1\r\n\r\n",
       "HTTP/1.1 400 Bad Request"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    RawConnection raw(server().port());
    ASSERT_TRUE(raw.connected());
    raw.Send(c.bytes);
    std::string answer = raw.ReadUntilClosed();
    EXPECT_EQ(StatusLine(answer), c.status_line);
    EXPECT_NE(answer.find("Connection: close"), std::string::npos);
    EXPECT_TRUE(Client()->Call("QUOR.API.Info", "query").Success());
  }
  EXPECT_TRUE(syslog().WaitFor("refused: 431"));
}

TEST_F(LimitsTest, PipelinedRequestsAreAnsweredInOrder) {
  RawConnection raw(server().port());
  std::string request_a =
      "GET /webapi/entry?api=QUOR.API.Info&version=1&method=query&query=QUOR.API.Auth "
      "HTTP/1.1\r\nHost: x\r\n\r\n";
  std::string request_b =
      "GET /webapi/entry?api=QUOR.API.Info&version=1&method=query&query=QUOR.API.Info "
      "HTTP/1.1\r\nHost: x\r\n\r\n";
  ASSERT_TRUE(raw.Send(request_a + request_b));
  std::string answers = raw.ReadResponses(2);
  size_t auth = answers.find("QUOR.API.Auth");
  size_t info = answers.find("\"QUOR.API.Info\"");
  ASSERT_NE(auth, std::string::npos) << answers;
  ASSERT_NE(info, std::string::npos) << answers;
  EXPECT_LT(auth, info);
  EXPECT_FALSE(raw.ClosedByPeer());
}

TEST_F(LimitsTest, StalledHeadIsAnswered408AtTheDeadline) {
  RawConnection raw(server().port());
  ASSERT_TRUE(raw.Send("GET /webapi/entry HTTP/1.1\r\nHost: x\r\n"));
  std::string answer = raw.ReadUntilClosed(std::chrono::seconds(60));
  EXPECT_EQ(StatusLine(answer), "HTTP/1.1 408 Request Timeout");
  EXPECT_TRUE(syslog().WaitFor("refused: 408"));
}

TEST_F(LimitsTest, TricklingHeadsDoNotHoldUpOthersAndAreClosedAtTheDeadline) {
  constexpr int kSlowClients = 64;
  std::vector<std::unique_ptr<RawConnection>> slow;
  for (int i = 0; i < kSlowClients; ++i) {
    slow.push_back(std::make_unique<RawConnection>(server().port()));
    ASSERT_TRUE(slow.back()->connected());
    slow.back()->Send("GET /webapi/entry?api=QUOR.API.Info&version=1&method=query HTTP/1.1\r\n");
  }
  auto client = LoggedInClient();
  std::vector<bool> closed(kSlowClients, false);
  int answered = 0;
  // One header line every 2 s from every slow client, while normal requests go on; the head
  // deadline (10 s) ends them all. The loop is bounded by its own count.
  for (int round = 0; round < 15; ++round) {
    for (int i = 0; i < kSlowClients; ++i) {
      if (!closed[i]) closed[i] = !slow[i]->Send("X-Trickle-" + std::to_string(round) + ": 1\r\n");
    }
    if (client->Call("QUOR.Sonvik.VoiceAssistant.Info", "get").Success()) ++answered;
    std::this_thread::sleep_for(std::chrono::seconds(2));
  }
  EXPECT_EQ(answered, 15);
  for (int i = 0; i < kSlowClients; ++i) {
    std::string answer = slow[i]->ReadUntilClosed(std::chrono::seconds(30));
    EXPECT_EQ(StatusLine(answer), "HTTP/1.1 408 Request Timeout") << "slow client " << i;
  }
}

}  // namespace
}  // namespace Sonvik::e2e
