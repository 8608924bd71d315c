// A virtual track's segment as WAV: exact header, sample-exact data, ranges.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "media_test_support.h"
#include "package/audio/audio_output.h"
#include "package/audio/wav_header.h"
#include "track_lookup_double.h"

namespace Sonvik::testing {
namespace {

using ::testing::StartsWith;

std::string Bytes(std::initializer_list<int> values) {
  std::string bytes;
  for (int v : values) bytes.push_back(static_cast<char>(v));
  return bytes;
}

TEST(WavHeader, CanonicalPcmLayout) {
  auto header = audio::WavHeader(44100, 2, 1000);
  std::string text(reinterpret_cast<const char*>(header.data()), header.size());
  EXPECT_EQ(text, "RIFF" + Bytes({0x0C, 0x04, 0, 0}) + "WAVEfmt " + Bytes({16, 0, 0, 0}) +
                      Bytes({1, 0, 2, 0}) + Bytes({0x44, 0xAC, 0, 0}) +
                      Bytes({0x10, 0xB1, 0x02, 0}) + Bytes({4, 0, 16, 0}) + "data" +
                      Bytes({0xE8, 0x03, 0, 0}));
  auto mono = audio::WavHeader(8000, 1, 0xFFFFFFDBu);
  EXPECT_EQ(std::memcmp(mono.data() + 4, "\xFF\xFF\xFF\xFF", 4), 0);
  EXPECT_EQ(mono[32], 2);  // block align
}

// A WAV written here sample by sample, so the expected segment bytes are known exactly.
class WavSegmentTest : public ::testing::Test {
 protected:
  static constexpr int kRate = 22050;
  static constexpr int kChannels = 2;
  static constexpr int kSamples = kRate * 2;  // 2 s

  void SetUp() override {
    dir_ = ScratchDir("wav");
    source_ = dir_ + "/source.wav";
    pcm_.resize(static_cast<size_t>(kSamples) * kChannels * 2);
    for (size_t i = 0; i < pcm_.size() / 2; ++i) {
      int16_t value = static_cast<int16_t>((i * 2654435761u) >> 16);
      std::memcpy(&pcm_[i * 2], &value, 2);
    }
    auto header = audio::WavHeader(kRate, kChannels, static_cast<uint32_t>(pcm_.size()));
    WriteFile(source_, std::string(header.begin(), header.end()) + pcm_);
  }
  static std::pair<int, std::string> Seek(
      const TrackRecord& record,
      std::initializer_list<std::pair<const char*, std::string>> cgi = {}) {
    CgiEnvironment environment(cgi);
    StdoutCapture capture;
    int result = QUORAudioSeekSong(&record, 0);
    return {result, capture.Finish()};
  }

  std::string dir_;
  std::string source_;
  std::string pcm_;
};

TEST_F(WavSegmentTest, SegmentIsSampleExact) {
  // 250 ms to 750 ms: samples 5513 to 16538 (rounded to the nearest sample).
  auto [result, answer] = Seek(MakeRecord(3, source_, 2, 250, 750));
  ASSERT_EQ(result, 0);
  auto [head, body] = SplitAnswer(answer);
  const size_t data = (16538 - 5513) * 4;
  EXPECT_THAT(head, StartsWith("Content-Type: audio/wav\r\nContent-Length: " +
                               std::to_string(44 + data) + "\r\nLast-Modified: "));
  auto header = audio::WavHeader(kRate, kChannels, static_cast<uint32_t>(data));
  EXPECT_EQ(body, std::string(header.begin(), header.end()) + pcm_.substr(5513 * 4, data));
}

TEST_F(WavSegmentTest, RangesAreSlicesOfTheWhole) {
  TrackRecord record = MakeRecord(3, source_, 2, 250, 0);  // to the end of the file
  std::string whole = SplitAnswer(Seek(record).second).second;
  ASSERT_EQ(whole.size(), 44u + (kSamples - 5513) * 4u);
  struct Case {
    const char* range;
    size_t first;
    size_t length;
  };
  const Case cases[] = {{"bytes=0-43", 0, 44},
                        {"bytes=40-49", 40, 10},
                        {"bytes=1001-", 1001, whole.size() - 1001},
                        {"bytes=-3", whole.size() - 3, 3},
                        {"bytes=44-44", 44, 1}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.range);
    auto [result, answer] = Seek(record, {{"HTTP_RANGE", c.range}});
    ASSERT_EQ(result, 0);
    auto [head, body] = SplitAnswer(answer);
    EXPECT_THAT(head,
                StartsWith("Status: 206 Partial Content\r\nContent-Type: audio/wav\r\n"
                           "Content-Range: bytes " +
                           std::to_string(c.first) + "-" + std::to_string(c.first + c.length - 1) +
                           "/" + std::to_string(whole.size()) + "\r\n"));
    EXPECT_EQ(body, whole.substr(c.first, c.length));
  }
}

TEST_F(WavSegmentTest, CompressedSourceKeepsItsFormat) {
  std::string flac = dir_ + "/tone.flac";
  ASSERT_TRUE(MakeAudio(flac, 4, 48000, 1, 2.0));
  auto [result, answer] = Seek(MakeRecord(3, flac, 1, 1000, 3500));
  ASSERT_EQ(result, 0);
  auto [head, body] = SplitAnswer(answer);
  ASSERT_EQ(body.size(), 44u + 120000u * 2u);
  auto header = audio::WavHeader(48000, 1, 240000);
  EXPECT_EQ(body.substr(0, 44), std::string(header.begin(), header.end()));
  std::string path = dir_ + "/segment.wav";
  WriteFile(path, body);
  std::vector<float> samples = DecodeWithFfmpeg(path);
  EXPECT_EQ(samples.size(), 120000u);
  EXPECT_NEAR(FirstLoud(samples), 48000, 2);
}

TEST_F(WavSegmentTest, FailuresWriteNothing) {
  std::string garbage = dir_ + "/garbage.flac";
  WriteFile(garbage, PatternBytes(5000));
  for (const TrackRecord& record :
       {MakeRecord(3, garbage, 1, 0, 1000), MakeRecord(3, dir_ + "/missing.wav", 1, 0, 1000),
        MakeRecord(3, source_, 1, 3000, 0), MakeRecord(3, source_, 1, 500, 400)}) {
    auto [result, answer] = Seek(record);
    EXPECT_EQ(result, -1) << record.path;
    EXPECT_EQ(answer, "") << record.path;
  }
}

}  // namespace
}  // namespace Sonvik::testing
