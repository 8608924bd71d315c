// Reading requests off a connection's bytes: heads, bodies, pipelining and every limit.
#include "host/server/request_reader.h"

#include <gtest/gtest.h>

#include <string>

#include "host/server/http_limits.h"

namespace QUOR::server {
namespace {

struct Result {
  RequestReader::Status status;
  size_t consumed;
  int error_status;
};

Result FeedAll(RequestReader& reader, const std::string& bytes) {
  size_t consumed = 0;
  RequestReader::Status status = reader.Feed(bytes, &consumed);
  return {status, consumed, reader.error_status()};
}

TEST(RequestReader, ReadsGetWithFieldsLowerCasedInOrder) {
  RequestReader reader;
  std::string bytes =
      "GET /webapi/entry?api=QUOR.API.Info&x=%20 HTTP/1.1\r\nHost: a\r\nX-Thing:  v  \r\n"
      "Range: bytes=0-\r\n\r\n";
  Result result = FeedAll(reader, bytes);
  ASSERT_EQ(result.status, RequestReader::Status::kComplete);
  EXPECT_EQ(result.consumed, bytes.size());
  HttpRequest& request = reader.request();
  EXPECT_EQ(request.method, "GET");
  EXPECT_EQ(request.Path(), "/webapi/entry");
  EXPECT_EQ(request.QueryString(), "api=QUOR.API.Info&x=%20");
  EXPECT_TRUE(request.http11());
  EXPECT_TRUE(request.keep_alive);
  ASSERT_EQ(request.headers.size(), 3u);
  EXPECT_EQ(request.headers[1].first, "x-thing");
  EXPECT_EQ(request.headers[1].second, "v");
  EXPECT_EQ(*request.Header("range"), "bytes=0-");
}

TEST(RequestReader, KeepAliveFollowsVersionAndConnectionField) {
  struct Case {
    const char* head;
    bool keep_alive;
  };
  const Case cases[] = {
      {"GET / HTTP/1.1\r\n\r\n", true},
      {"GET / HTTP/1.1\r\nConnection: close\r\n\r\n", false},
      {"GET / HTTP/1.0\r\n\r\n", false},
      {"GET / HTTP/1.0\r\nConnection: keep-alive\r\n\r\n", true},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.head);
    RequestReader reader;
    ASSERT_EQ(FeedAll(reader, c.head).status, RequestReader::Status::kComplete);
    EXPECT_EQ(reader.request().keep_alive, c.keep_alive);
  }
}

TEST(RequestReader, ByteByByteGivesTheSameRequestAndStartsTheDeadlineAtTheFirstByte) {
  std::string bytes =
      "POST /webapi/entry HTTP/1.1\r\nContent-Type: application/x-www-form-urlencoded\r\n"
      "Content-Length: 9\r\n\r\napi=x&b=1";
  RequestReader reader;
  EXPECT_FALSE(reader.started());
  for (size_t i = 0; i < bytes.size(); ++i) {
    size_t consumed = 0;
    RequestReader::Status status = reader.Feed(std::string_view(bytes).substr(i, 1), &consumed);
    EXPECT_EQ(consumed, 1u);
    EXPECT_TRUE(reader.started());
    RequestReader::Status expected =
        i + 1 < bytes.size() ? RequestReader::Status::kNeedMore : RequestReader::Status::kComplete;
    ASSERT_EQ(status, expected) << i;
  }
  EXPECT_EQ(reader.request().body, "api=x&b=1");
  EXPECT_TRUE(reader.head_complete());
}

TEST(RequestReader, LeadingBlankLinesDoNotStartARequest) {
  RequestReader reader;
  Result blank = FeedAll(reader, "\r\n\r\n");
  EXPECT_EQ(blank.status, RequestReader::Status::kNeedMore);
  EXPECT_EQ(blank.consumed, 4u);
  EXPECT_FALSE(reader.started());
}

TEST(RequestReader, PipelinedRequestsAreReadOneAtATime) {
  std::string first = "GET /a HTTP/1.1\r\n\r\n";
  std::string second = "GET /b HTTP/1.1\r\n\r\n";
  RequestReader reader;
  Result result = FeedAll(reader, first + second);
  ASSERT_EQ(result.status, RequestReader::Status::kComplete);
  EXPECT_EQ(result.consumed, first.size());
  EXPECT_EQ(reader.request().target, "/a");
  reader.Reset();
  result = FeedAll(reader, second);
  ASSERT_EQ(result.status, RequestReader::Status::kComplete);
  EXPECT_EQ(reader.request().target, "/b");
}

TEST(RequestReader, ChunkedBodyIsDecoded) {
  RequestReader reader;
  Result result = FeedAll(reader,
                          "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n"
                          "3\r\napi\r\n2\r\n=x\r\n0\r\n\r\n");
  ASSERT_EQ(result.status, RequestReader::Status::kComplete);
  EXPECT_EQ(reader.request().body, "api=x");
}

TEST(RequestReader, ExpectContinueIsReportedOnce) {
  RequestReader reader;
  FeedAll(reader, "POST / HTTP/1.1\r\nExpect: 100-continue\r\nContent-Length: 3\r\n\r\n");
  EXPECT_TRUE(reader.TakeContinueRequest());
  EXPECT_FALSE(reader.TakeContinueRequest());
}

TEST(RequestReader, BrokenLimitsAndSyntaxGiveTheFittingStatus) {
  std::string many_fields = "GET / HTTP/1.1\r\n";
  for (size_t i = 0; i <= limits::kMaxHeaderFields; ++i) {
    many_fields += "X-" + std::to_string(i) + ": v\r\n";
  }
  std::string fields_at_limit = "GET / HTTP/1.1\r\n";
  for (size_t i = 0; i < limits::kMaxHeaderFields; ++i) {
    fields_at_limit += "X-" + std::to_string(i) + ": v\r\n";
  }
  struct Case {
    const char* name;
    std::string bytes;
    RequestReader::Status status;
    int error_status;
  };
  const Case cases[] = {
      {"fields at the limit", fields_at_limit + "\r\n", RequestReader::Status::kComplete, 0},
      {"one field too many", many_fields + "\r\n", RequestReader::Status::kError, 431},
      {"head too large",
       "GET / HTTP/1.1\r\nX-Big: " + std::string(limits::kMaxHeadBytes, 'b') + "\r\n\r\n",
       RequestReader::Status::kError, 431},
      {"target too long", "GET /" + std::string(limits::kMaxUrlBytes, 'u') + " HTTP/1.1\r\n\r\n",
       RequestReader::Status::kError, 414},
      {"declared body too large",
       "POST / HTTP/1.1\r\nContent-Length: " + std::to_string(limits::kMaxBodyBytes + 1) +
           "\r\n\r\n",
       RequestReader::Status::kError, 413},
      {"chunked body too large",
       "POST / HTTP/1.1\r\nTransfer-Encoding: chunked\r\n\r\n10001\r\n" +
           std::string(limits::kMaxBodyBytes + 1, 'c') + "\r\n0\r\n\r\n",
       RequestReader::Status::kError, 413},
      {"garbage", "HELLO\r\n\r\n", RequestReader::Status::kError, 400},
      {"bad version", "GET / HTTP/x.y\r\n\r\n", RequestReader::Status::kError, 400},
      {"space in field name", "GET / HTTP/1.1\r\nBad Name: v\r\n\r\n",
       RequestReader::Status::kError, 400},
      {"connect", "CONNECT a:443 HTTP/1.1\r\n\r\n", RequestReader::Status::kError, 400},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    RequestReader reader;
    Result result = FeedAll(reader, c.bytes);
    EXPECT_EQ(result.status, c.status);
    EXPECT_EQ(result.error_status, c.error_status);
  }
}

TEST(RequestReader, BodyAtTheLimitIsAccepted) {
  RequestReader reader;
  std::string body(limits::kMaxBodyBytes, 'b');
  Result result =
      FeedAll(reader, "POST / HTTP/1.1\r\nContent-Length: " + std::to_string(body.size()) +
                          "\r\n\r\n" + body);
  ASSERT_EQ(result.status, RequestReader::Status::kComplete);
  EXPECT_EQ(reader.request().body.size(), body.size());
}

}  // namespace
}  // namespace QUOR::server
