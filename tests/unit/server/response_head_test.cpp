// Framing choices and the status line and fields the host sends ahead of a body.
#include "host/server/response_head.h"

#include <gtest/gtest.h>

namespace QUOR::server {
namespace {

struct FramingCase {
  const char* name;
  int status;
  bool head_request;
  bool has_length;
  bool http11;
  bool keep_alive_wanted;
  BodyFraming body;
  bool keep_alive;
};

TEST(ChooseFraming, FollowsStatusMethodLengthAndVersion) {
  const FramingCase cases[] = {
      {"length given", 200, false, true, true, true, BodyFraming::kContentLength, true},
      {"no length, 1.1", 200, false, false, true, true, BodyFraming::kChunked, true},
      {"no length, 1.0", 200, false, false, false, true, BodyFraming::kUntilClose, false},
      {"1.0 with length keeps alive", 200, false, true, false, true, BodyFraming::kContentLength,
       true},
      {"client wants close", 200, false, false, true, false, BodyFraming::kChunked, false},
      {"head without length", 200, true, false, true, true, BodyFraming::kNone, true},
      {"head with length", 200, true, true, false, true, BodyFraming::kContentLength, true},
      {"not modified", 304, false, false, true, true, BodyFraming::kNone, true},
      {"no content", 204, false, false, false, true, BodyFraming::kNone, true},
  };
  for (const FramingCase& c : cases) {
    SCOPED_TRACE(c.name);
    Framing framing =
        ChooseFraming(c.status, c.head_request, c.has_length, c.http11, c.keep_alive_wanted);
    EXPECT_EQ(framing.body, c.body);
    EXPECT_EQ(framing.keep_alive, c.keep_alive);
  }
}

TEST(BuildResponseHead, HostFramingReplacesTheHandlersOwn) {
  CgiHeaders headers;
  headers.status = 206;
  headers.reason = "Partial Content";
  headers.fields = {{"Content-Type", "audio/mpeg"},
                    {"Transfer-Encoding", "gzip"},
                    {"connection", "close"},
                    {"Date", "yesterday"},
                    {"Accept-Ranges", "bytes"}};
  headers.content_length = 10;
  std::string head = BuildResponseHead(headers, {BodyFraming::kContentLength, true}, 784111777);
  EXPECT_EQ(head,
            "HTTP/1.1 206 Partial Content\r\n"
            "Date: Sun, 06 Nov 1994 08:49:37 GMT\r\n"
            "Content-Type: audio/mpeg\r\n"
            "Accept-Ranges: bytes\r\n"
            "Content-Length: 10\r\n"
            "Connection: keep-alive\r\n"
            "\r\n");
}

TEST(BuildResponseHead, ChunkedDropsLengthAndCloseSaysSo) {
  CgiHeaders headers;
  std::string chunked = BuildResponseHead(headers, {BodyFraming::kChunked, true}, 0);
  EXPECT_NE(chunked.find("Transfer-Encoding: chunked\r\n"), std::string::npos);
  EXPECT_EQ(chunked.find("Content-Length"), std::string::npos);
  std::string closing = BuildResponseHead(headers, {BodyFraming::kUntilClose, false}, 0);
  EXPECT_NE(closing.find("Connection: close\r\n"), std::string::npos);
  EXPECT_EQ(closing.find("Transfer-Encoding"), std::string::npos);
}

TEST(FormatHttpDate, ImfFixdate) {
  EXPECT_EQ(FormatHttpDate(0), "Thu, 01 Jan 1970 00:00:00 GMT");
  EXPECT_EQ(FormatHttpDate(951782400), "Tue, 29 Feb 2000 00:00:00 GMT");
}

}  // namespace
}  // namespace QUOR::server
