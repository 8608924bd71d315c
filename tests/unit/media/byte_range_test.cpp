// Range header interpretation, one table row per request shape.
#include "package/audio/byte_range.h"

#include <gtest/gtest.h>

#include <string>

namespace Sonvik::audio {
namespace {

struct RangeCase {
  const char* header;
  uint64_t size;
  RangeKind kind;
  uint64_t first;
  uint64_t last;
};

void ExpectCases(const std::vector<RangeCase>& cases) {
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string("\"") + c.header + "\" size " + std::to_string(c.size));
    ByteRange range = ParseRangeHeader(c.header, c.size);
    EXPECT_EQ(range.kind, c.kind);
    if (c.kind == RangeKind::kSingle && range.kind == RangeKind::kSingle) {
      EXPECT_EQ(range.first, c.first);
      EXPECT_EQ(range.last, c.last);
    }
  }
}

constexpr auto kWhole = RangeKind::kWhole;
constexpr auto kSingle = RangeKind::kSingle;
constexpr auto kUnsatisfiable = RangeKind::kUnsatisfiable;

TEST(ByteRange, SingleSpecs) {
  ExpectCases({
      {"bytes=0-499", 10000, kSingle, 0, 499},
      {"bytes=1000-1999", 10000, kSingle, 1000, 1999},
      {"bytes=9500-", 10000, kSingle, 9500, 9999},
      {"bytes=-500", 10000, kSingle, 9500, 9999},
      {"bytes=0-0", 10000, kSingle, 0, 0},
      {"bytes=9999-9999", 10000, kSingle, 9999, 9999},
      {"bytes=0-", 1, kSingle, 0, 0},
      // Clipped to the end.
      {"bytes=9000-20000", 10000, kSingle, 9000, 9999},
      {"bytes=-20000", 10000, kSingle, 0, 9999},
      {"bytes=0-18446744073709551615", 10, kSingle, 0, 9},
      // Saturating numbers keep their meaning.
      {"bytes=5-99999999999999999999999999", 10, kSingle, 5, 9},
      {"bytes=-99999999999999999999999999", 10, kSingle, 0, 9},
      // Letter case of the unit and blanks around the pieces.
      {"Bytes=1-2", 10, kSingle, 1, 2},
      {" bytes = 1-2 ", 10, kSingle, 1, 2},
      {"bytes=1-2,", 10, kSingle, 1, 2},
      {"bytes=,1-2", 10, kSingle, 1, 2},
  });
}

TEST(ByteRange, Unsatisfiable) {
  ExpectCases({
      {"bytes=10000-", 10000, kUnsatisfiable, 0, 0},
      {"bytes=10000-10010", 10000, kUnsatisfiable, 0, 0},
      {"bytes=99999999999999999999999999-", 10000, kUnsatisfiable, 0, 0},
      {"bytes=-0", 10000, kUnsatisfiable, 0, 0},
      {"bytes=0-", 0, kUnsatisfiable, 0, 0},
      {"bytes=-5", 0, kUnsatisfiable, 0, 0},
      {"bytes=20000-, 30000-", 10000, kUnsatisfiable, 0, 0},
  });
}

TEST(ByteRange, IgnoredHeadersAnswerWhole) {
  ExpectCases({
      {"", 10000, kWhole, 0, 0},
      {"bytes", 10000, kWhole, 0, 0},
      {"bytes=", 10000, kWhole, 0, 0},
      {"bytes=,", 10000, kWhole, 0, 0},
      {"items=0-1", 10000, kWhole, 0, 0},
      {"bytesx=0-1", 10000, kWhole, 0, 0},
      {"bytes=5-1", 10000, kWhole, 0, 0},
      {"bytes=a-1", 10000, kWhole, 0, 0},
      {"bytes=1-b", 10000, kWhole, 0, 0},
      {"bytes=-", 10000, kWhole, 0, 0},
      {"bytes=1", 10000, kWhole, 0, 0},
      {"bytes=+1-2", 10000, kWhole, 0, 0},
      {"bytes=1 -2", 10000, kWhole, 0, 0},
      {"bytes=--1", 10000, kWhole, 0, 0},
      {"bytes=0x10-20", 10000, kWhole, 0, 0},
      // One malformed spec spoils the whole list.
      {"bytes=0-1,x", 10000, kWhole, 0, 0},
      {"bytes=20000-,5-1", 10000, kWhole, 0, 0},
  });
}

TEST(ByteRange, SeveralRangesAnswerWhole) {
  ExpectCases({
      {"bytes=0-1,5-6", 10000, kWhole, 0, 0},
      {"bytes=0-1, 20000-", 10000, kWhole, 0, 0},
      {"bytes=-1,-2,-3", 10000, kWhole, 0, 0},
  });
}

TEST(ByteRange, AbuseLimits) {
  std::string many = "bytes=0-0";
  for (size_t i = 1; i < kMaxRangeSpecs; ++i) many += ",0-0";
  std::string too_many_unsatisfiable = "bytes=20000-";
  for (size_t i = 1; i <= kMaxRangeSpecs; ++i) too_many_unsatisfiable += ",20000-";
  std::string long_header = "bytes=" + std::string(kMaxRangeHeaderLength, '0') + "5-6";
  std::string long_within = "bytes=" + std::string(kMaxRangeHeaderLength - 12, '0') + "5-6";

  EXPECT_EQ(ParseRangeHeader(many, 10000).kind, kWhole);
  // Past the range-count limit even an all-unsatisfiable list is ignored instead of refused.
  EXPECT_EQ(ParseRangeHeader(too_many_unsatisfiable, 10000).kind, kWhole);
  EXPECT_EQ(ParseRangeHeader(long_header, 10000).kind, kWhole);
  ByteRange within = ParseRangeHeader(long_within, 10000);
  EXPECT_EQ(within.kind, kSingle);
  EXPECT_EQ(within.first, 5u);
  EXPECT_EQ(within.length(), 2u);
}

}  // namespace
}  // namespace Sonvik::audio
