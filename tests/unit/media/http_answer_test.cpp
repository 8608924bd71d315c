// The pieces of a media answer: dates, content types, conditional requests and header blocks.
#include <gtest/gtest.h>

#include <string>

#include "package/audio/cgi_writer.h"
#include "package/audio/content_type.h"
#include "package/audio/http_date.h"
#include "package/audio/response_plan.h"

namespace Sonvik::audio {
namespace {

TEST(HttpDate, FormatsAndReadsBack) {
  EXPECT_EQ(FormatHttpDate(784111777), "Sun, 06 Nov 1994 08:49:37 GMT");
  EXPECT_EQ(FormatHttpDate(0), "Thu, 01 Jan 1970 00:00:00 GMT");
  EXPECT_EQ(ParseHttpDate("Sun, 06 Nov 1994 08:49:37 GMT"), 784111777);
  for (time_t t : {0L, 951782400L, 1700000000L, 4102444799L}) {
    EXPECT_EQ(ParseHttpDate(FormatHttpDate(t)), t) << t;
  }
}

TEST(HttpDate, RefusesOtherForms) {
  for (const char* text : {"", "Sunday, 06-Nov-94 08:49:37 GMT", "Sun Nov  6 08:49:37 1994",
                           "Sun, 06 Nov 1994 08:49:37 UTC", "Sun, 06 Xyz 1994 08:49:37 GMT",
                           "Sun, 6 Nov 1994 08:49:37 GMT", "Sun, 06 Nov 1994 28:49:37 GMT",
                           "Sun, 06 Nov 1994 08:49:37 GMT ", "Sun, 0a Nov 1994 08:49:37 GMT"}) {
    EXPECT_FALSE(ParseHttpDate(text).has_value()) << text;
  }
}

TEST(ContentType, ByExtensionInAnyCase) {
  struct Case {
    const char* path;
    const char* type;
  };
  const Case cases[] = {
      {"/m/a.mp3", "audio/mpeg"},
      {"/m/a.FLAC", "audio/flac"},
      {"/m/a.ogg", "audio/ogg"},
      {"/m/a.opus", "audio/ogg"},
      {"/m/a.m4a", "audio/mp4"},
      {"/m/a.wav", "audio/wav"},
      {"/m/a.aiff", "audio/aiff"},
      {"/m/a.aif", "audio/aiff"},
      {"/m/a.Jpg", "image/jpeg"},
      {"/m/a.jpeg", "image/jpeg"},
      {"/m/a.png", "image/png"},
      {"/m/a.webp", "image/webp"},
      {"/m/a.txt", "application/octet-stream"},
      {"/m/noext", "application/octet-stream"},
      {"/m.mp3/noext", "application/octet-stream"},
      {"/m/.mp3", "application/octet-stream"},
      {"/m/a.mp3.part", "application/octet-stream"},
      {"/m/a.verylongextension", "application/octet-stream"},
  };
  for (const auto& c : cases) EXPECT_STREQ(ContentTypeForPath(c.path), c.type) << c.path;
}

class PlanTest : public ::testing::Test {
 protected:
  const Validators validators_{"\"7d0-abc\"", 784111777};
  static constexpr uint64_t kSize = 2000;
  ResponsePlan Plan(const char* range, const char* if_range = "", const char* if_none_match = "",
                    const char* if_modified_since = "") const {
    RequestHeaders request;
    request.range = range;
    request.if_range = if_range;
    request.if_none_match = if_none_match;
    request.if_modified_since = if_modified_since;
    return PlanResponse(request, validators_, kSize);
  }
};

TEST_F(PlanTest, WholeAndRanges) {
  ResponsePlan plan = Plan("");
  EXPECT_EQ(plan.status, 200);
  EXPECT_EQ(plan.length, kSize);

  plan = Plan("bytes=1000-1999");
  EXPECT_EQ(plan.status, 206);
  EXPECT_EQ(plan.first, 1000u);
  EXPECT_EQ(plan.length, 1000u);

  plan = Plan("bytes=2000-");
  EXPECT_EQ(plan.status, 416);
  EXPECT_EQ(plan.length, 0u);

  EXPECT_EQ(Plan("bytes=0-1,3-4").status, 200);
}

TEST_F(PlanTest, IfRangeNeedsTheSameRepresentation) {
  struct Case {
    const char* if_range;
    int status;
  };
  const Case cases[] = {
      {"\"7d0-abc\"", 206},
      {"\"7d0-abd\"", 200},
      {"W/\"7d0-abc\"", 200},  // a weak tag cannot vouch for bytes
      {"Sun, 06 Nov 1994 08:49:37 GMT", 206},
      {"Sun, 06 Nov 1994 08:49:38 GMT", 200},  // only the exact date counts
      {"yesterday", 200},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(Plan("bytes=10-19", c.if_range).status, c.status) << c.if_range;
  }
  // A failed If-Range never turns an unsatisfiable range into a 416.
  EXPECT_EQ(Plan("bytes=5000-", "\"other\"").status, 200);
}

TEST_F(PlanTest, NotModified) {
  struct Case {
    const char* if_none_match;
    const char* if_modified_since;
    int status;
  };
  const Case cases[] = {
      {"\"7d0-abc\"", "", 304},
      {"W/\"7d0-abc\"", "", 304},
      {"\"x\", \"7d0-abc\"", "", 304},
      {"*", "", 304},
      {"\"x\"", "", 200},
      {"", "Sun, 06 Nov 1994 08:49:37 GMT", 304},
      {"", "Mon, 07 Nov 1994 08:49:37 GMT", 304},
      {"", "Sun, 06 Nov 1994 08:49:36 GMT", 200},
      {"", "garbage", 200},
      // If-None-Match decides alone when present.
      {"\"x\"", "Mon, 07 Nov 1994 08:49:37 GMT", 200},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.if_none_match) + " | " + c.if_modified_since);
    ResponsePlan plan = Plan("bytes=0-9", "", c.if_none_match, c.if_modified_since);
    EXPECT_EQ(plan.status, c.status == 200 ? 206 : 304);
    if (c.status == 304) {
      EXPECT_EQ(plan.length, 0u);
    }
  }
}

TEST(HeaderBlock, ExactBytesPerStatus) {
  const Validators validators{"\"7d0-abc\"", 784111777};
  const std::string tail =
      "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\nETag: \"7d0-abc\"\r\n\r\n";
  EXPECT_EQ(HeadersForPlan({200, 0, 2000}, 2000, "audio/flac", validators).Text(),
            "Content-Type: audio/flac\r\nContent-Length: 2000\r\n" + tail);
  EXPECT_EQ(HeadersForPlan({206, 1000, 24}, 2000, "audio/flac", validators).Text(),
            "Status: 206 Partial Content\r\nContent-Type: audio/flac\r\n"
            "Content-Range: bytes 1000-1023/2000\r\nContent-Length: 24\r\n" +
                tail);
  EXPECT_EQ(HeadersForPlan({304, 0, 0}, 2000, "audio/flac", validators).Text(),
            "Status: 304 Not Modified\r\n" + tail);
  EXPECT_EQ(HeadersForPlan({416, 0, 0}, 2000, "audio/flac", validators).Text(),
            "Status: 416 Range Not Satisfiable\r\nContent-Range: bytes */2000\r\n"
            "Content-Length: 0\r\n\r\n");
  EXPECT_EQ(HeadersForPlan({200, 0, 5}, 5, "audio/mpeg", Validators{}).Text(),
            "Content-Type: audio/mpeg\r\nContent-Length: 5\r\n\r\n");
}

}  // namespace
}  // namespace Sonvik::audio
