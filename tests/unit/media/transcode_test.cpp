// MP3 transcoding: the frame arithmetic, exact lengths, ranges that decode to the right time.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "host/api/cgi_output.h"
#include "media_test_support.h"
#include "package/audio/audio_output.h"
#include "package/audio/mp3_layout.h"
#include "package/audio/track_segment.h"
#include "track_lookup_double.h"

namespace Sonvik::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::StartsWith;

TEST(Mp3Layout, FrameBytesAt48kHz) {
  EXPECT_EQ(audio::Mp3FrameBytes(128000), 384);
  EXPECT_EQ(audio::Mp3FrameBytes(32000), 96);
  EXPECT_EQ(audio::Mp3FrameBytes(192000), 576);
  EXPECT_EQ(audio::Mp3FrameBytes(320000), 960);
  for (int64_t rate : {0, -128000, 8000, 127999, 144000, 384000}) {
    EXPECT_EQ(audio::Mp3FrameBytes(rate), 0) << rate;
  }
}

TEST(Mp3Layout, FramesCoverEverySample) {
  EXPECT_EQ(audio::Mp3FrameCount(0), 0);
  EXPECT_EQ(audio::Mp3FrameCount(1), 1);
  EXPECT_EQ(audio::Mp3FrameCount(1152), 1);
  EXPECT_EQ(audio::Mp3FrameCount(1153), 2);
  EXPECT_EQ(audio::Mp3FrameCount(480000), 417);  // 10 s: 416 2/3 frames
  EXPECT_EQ(audio::Mp3FrameCount(int64_t{48000} * 3600 * 10), 1500000);
}

TEST(TrackSegment, PlainAndVirtualTracks) {
  struct Case {
    int virtual_index;
    int64_t start_ms, end_ms;
    int32_t duration_ms;
    int64_t duration_samples;
    bool valid;
    int64_t start, end;
  };
  const Case cases[] = {
      {0, 0, 0, 0, 480000, true, 0, 480000},
      {0, 0, 0, 10000, -1, true, 0, 480000},  // container silent: the record's duration
      {0, 0, 0, 0, -1, false, 0, 0},          // no length anywhere
      {0, 0, 0, 0, 0, false, 0, 0},
      {0, 5000, 6000, 0, 480000, true, 0, 480000},  // plain tracks ignore start and end
      {2, 2000, 4500, 0, 480000, true, 96000, 216000},
      {2, 2000, 0, 0, 480000, true, 96000, 480000},      // to the end of the file
      {2, 2000, 99000, 0, 480000, true, 96000, 480000},  // cut at the end of the audio
      {2, 2000, 4500, 0, -1, true, 96000, 216000},
      {2, 2000, 0, 3000, -1, false, 0, 0},
      {2, 4500, 4500, 0, 480000, false, 0, 0},
      {2, 4500, 2000, 0, 480000, false, 0, 0},
      {2, 10000, 0, 0, 480000, false, 0, 0},
      {2, -5, 100, 0, 480000, false, 0, 0},
      {2, 1, 2, 0, 480000, true, 48, 96},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.virtual_index) + " " + std::to_string(c.start_ms) + "-" +
                 std::to_string(c.end_ms));
    TrackRecord record = MakeRecord(1, "/x.flac", c.virtual_index, c.start_ms, c.end_ms);
    record.duration_ms = c.duration_ms;
    auto segment = audio::TrackSegment(record, c.duration_samples, 48000);
    ASSERT_EQ(segment.has_value(), c.valid);
    if (segment) {
      EXPECT_EQ(segment->start, c.start);
      EXPECT_EQ(segment->end, c.end);
    }
  }
  // Milliseconds round to the nearest sample.
  TrackRecord record = MakeRecord(1, "/x.flac", 1, 250, 750);
  auto segment = audio::TrackSegment(record, 1000000, 22050);
  ASSERT_TRUE(segment);
  EXPECT_EQ(segment->start, 5513);
  EXPECT_EQ(segment->end, 16538);
}

TEST(TranscodableExtensions, DecodableAudioOnly) {
  for (const char* path :
       {"/a.mp3", "/a.FLAC", "/a.ogg", "/a.oga", "/a.opus", "/a.m4a", "/a.m4b", "/a.spx", "/a.wav",
        "/a.aif", "/a.aiff", "/a.wma", "/a.ape", "/a.wv", "/a.mpc", "/a.tta"}) {
    EXPECT_NE(QUORAudioWebapiUtilsIsSupportTranscodingByFileExtension(path), 0) << path;
  }
  // Formats the scanner never lists are refused even where FFmpeg could read them.
  for (const char* path :
       {"/a.txt", "/a.jpg", "/a.cue", "/a.m3u", "/flac", "/a.flac/b", "", "/a.mkv", "/a.mp4"}) {
    EXPECT_EQ(QUORAudioWebapiUtilsIsSupportTranscodingByFileExtension(path), 0) << path;
  }
  EXPECT_EQ(QUORAudioWebapiUtilsIsSupportTranscodingByFileExtension(nullptr), 0);
}

bool g_output_wanted = true;
int g_output_checks = 0;
bool OutputWanted() {
  ++g_output_checks;
  return g_output_wanted;
}

class TranscodeTest : public ::testing::Test {
 protected:
  // 10 s at 44.1 kHz stereo; the tone starts at 6 s, i.e. 48 kHz sample 288000.
  static constexpr double kBurstSeconds = 6.0;
  static constexpr uint64_t kWholeLength = 417 * 384;

  void SetUp() override {
    dir_ = ScratchDir("transcode");
    source_ = dir_ + "/tone.flac";
    ASSERT_TRUE(MakeAudio(source_, 10, 44100, 2, kBurstSeconds));
    g_output_wanted = true;
    g_output_checks = 0;
  }
  void TearDown() override { QUOR::SetOutputWantedHook(nullptr); }

  struct Answer {
    int result;
    std::string head;
    std::string body;
  };
  static Answer Transcode(const TrackRecord& record,
                          std::initializer_list<std::pair<const char*, std::string>> cgi = {},
                          const char* format = "mp3", int64_t bit_rate = 128000) {
    CgiEnvironment environment(cgi);
    StdoutCapture capture;
    int result = QUORAudioTranscodeSong(&record, format, 0, 0, bit_rate);
    auto [head, body] = SplitAnswer(capture.Finish());
    return {result, head, body};
  }
  std::vector<float> Decode(const std::string& mp3) const {
    std::string path = dir_ + "/decoded.mp3";
    WriteFile(path, mp3);
    return DecodeWithFfmpeg(path);
  }
  static std::string Header(const std::string& head, const std::string& name) {
    size_t at = head.find(name + ": ");
    if (at == std::string::npos) return {};
    size_t from = at + name.size() + 2;
    return head.substr(from, head.find("\r\n", from) - from);
  }
  static void ExpectFrames(const std::string& body, size_t first_frame_at) {
    for (size_t at = first_frame_at; at + 3 <= body.size(); at += 384) {
      // Sync, MPEG-1 Layer III without CRC, 128 kbit/s, 48 kHz, no padding.
      ASSERT_EQ(body.substr(at, 3), std::string("\xFF\xFB\x94", 3)) << "frame at " << at;
    }
  }

  std::string dir_;
  std::string source_;
};

TEST_F(TranscodeTest, WholeTrackHasTheAnnouncedLengthAndTiming) {
  Answer answer = Transcode(MakeRecord(1, source_));
  ASSERT_EQ(answer.result, 0);
  EXPECT_THAT(answer.head, StartsWith("Content-Type: audio/mpeg\r\nContent-Length: 160128\r\n"));
  EXPECT_THAT(answer.head, HasSubstr("\r\nAccept-Ranges: bytes\r\n"));
  EXPECT_THAT(answer.head, HasSubstr("\r\nETag: \""));
  ASSERT_EQ(answer.body.size(), kWholeLength);
  ExpectFrames(answer.body, 0);

  std::vector<float> samples = Decode(answer.body);
  EXPECT_EQ(samples.size(), 417u * 1152u);
  EXPECT_NEAR(FirstLoud(samples), kBurstSeconds * 48000, 3);
}

TEST_F(TranscodeTest, RangeFromAFrameStartDecodesFromThatTime) {
  // Frame 200 starts at byte 76800 and at 4.8 s.
  Answer answer = Transcode(MakeRecord(1, source_), {{"HTTP_RANGE", "bytes=76800-"}});
  ASSERT_EQ(answer.result, 0);
  EXPECT_THAT(answer.head, StartsWith("Status: 206 Partial Content\r\nContent-Type: audio/mpeg\r\n"
                                      "Content-Range: bytes 76800-160127/160128\r\n"
                                      "Content-Length: 83328\r\n"));
  ASSERT_EQ(answer.body.size(), kWholeLength - 76800);
  ExpectFrames(answer.body, 0);
  std::vector<float> samples = Decode(answer.body);
  EXPECT_EQ(samples.size(), 217u * 1152u);
  EXPECT_NEAR(FirstLoud(samples), (kBurstSeconds - 4.8) * 48000, 3);
}

TEST_F(TranscodeTest, RangeInsideAFrameStartsInsideIt) {
  Answer answer = Transcode(MakeRecord(1, source_), {{"HTTP_RANGE", "bytes=80000-"}});
  ASSERT_EQ(answer.result, 0);
  EXPECT_EQ(Header(answer.head, "Content-Range"), "bytes 80000-160127/160128");
  EXPECT_EQ(Header(answer.head, "Content-Length"), "80128");
  ASSERT_EQ(answer.body.size(), 80128u);
  // Byte 80000 is 128 bytes into frame 208; frame 209 follows 256 bytes later.
  ExpectFrames(answer.body, 256);

  answer = Transcode(MakeRecord(1, source_), {{"HTTP_RANGE", "bytes=1000-1999"}});
  EXPECT_EQ(Header(answer.head, "Content-Range"), "bytes 1000-1999/160128");
  ASSERT_EQ(answer.body.size(), 1000u);
  ExpectFrames(answer.body, 152);

  answer = Transcode(MakeRecord(1, source_), {{"HTTP_RANGE", "bytes=-10"}});
  EXPECT_EQ(Header(answer.head, "Content-Range"), "bytes 160118-160127/160128");
  EXPECT_EQ(answer.body.size(), 10u);
}

TEST_F(TranscodeTest, AnswersWithoutABody) {
  Answer answer = Transcode(MakeRecord(1, source_), {{"HTTP_RANGE", "bytes=160128-"}});
  EXPECT_EQ(answer.result, 0);
  EXPECT_EQ(answer.head,
            "Status: 416 Range Not Satisfiable\r\nContent-Range: bytes */160128\r\n"
            "Content-Length: 0\r\nAccept-Ranges: bytes\r\n\r\n");
  EXPECT_EQ(answer.body, "");

  answer = Transcode(MakeRecord(1, source_), {{"REQUEST_METHOD", "HEAD"}});
  EXPECT_EQ(answer.result, 0);
  EXPECT_THAT(answer.head, StartsWith("Content-Type: audio/mpeg\r\nContent-Length: 160128\r\n"));
  EXPECT_EQ(answer.body, "");

  std::string etag = Header(answer.head, "ETag");
  answer = Transcode(MakeRecord(1, source_), {{"HTTP_IF_NONE_MATCH", etag}});
  EXPECT_THAT(answer.head, StartsWith("Status: 304 Not Modified\r\n"));
  EXPECT_EQ(answer.body, "");
  // Another bit rate is another representation.
  answer = Transcode(MakeRecord(1, source_), {{"HTTP_IF_NONE_MATCH", etag}}, "mp3", 192000);
  EXPECT_EQ(Header(answer.head, "Content-Length"), std::to_string(417 * 576));
  EXPECT_EQ(answer.body.size(), 417u * 576u);
}

TEST_F(TranscodeTest, VirtualTrackSegment) {
  // 5.0 s to 8.0 s of the file: 3 s, 125 frames; the tone starts 1 s in.
  Answer answer = Transcode(MakeRecord(1, source_, 3, 5000, 8000));
  ASSERT_EQ(answer.result, 0);
  EXPECT_EQ(Header(answer.head, "Content-Length"), "48000");
  ASSERT_EQ(answer.body.size(), 48000u);
  std::vector<float> samples = Decode(answer.body);
  EXPECT_EQ(samples.size(), 125u * 1152u);
  EXPECT_NEAR(FirstLoud(samples), 48000, 3);
  // The tone goes on to the segment's last samples.
  EXPECT_GT(std::fabs(samples[144000 - 200]) + std::fabs(samples[144000 - 201]), 0.01);

  // A range in the segment maps to the segment's own timeline.
  answer = Transcode(MakeRecord(1, source_, 3, 5000, 8000), {{"HTTP_RANGE", "bytes=9600-"}});
  EXPECT_EQ(Header(answer.head, "Content-Range"), "bytes 9600-47999/48000");
  samples = Decode(answer.body);
  EXPECT_NEAR(FirstLoud(samples), 48000 - 25 * 1152, 3);
}

TEST_F(TranscodeTest, SourceFormats) {
  struct Format {
    const char* name;
    int rate;
    int channels;
    const char* options;
  };
  const Format formats[] = {
      {"a.mp3", 44100, 2, ""},  {"a.ogg", 44100, 2, "-c:a libvorbis"},
      {"a.opus", 48000, 2, ""}, {"a.m4a", 44100, 2, "-c:a aac"},
      {"a.wav", 22050, 1, ""},  {"a.aiff", 96000, 2, ""},
      {"a.wv", 44100, 2, ""},   {"a.flac", 32000, 6, ""},
  };
  for (const auto& format : formats) {
    SCOPED_TRACE(format.name);
    std::string path = dir_ + "/" + format.name;
    ASSERT_TRUE(MakeAudio(path, 3, format.rate, format.channels, 1.0, format.options));
    Answer answer = Transcode(MakeRecord(1, path));
    ASSERT_EQ(answer.result, 0);
    uint64_t length = std::stoull(Header(answer.head, "Content-Length"));
    EXPECT_EQ(answer.body.size(), length);
    EXPECT_EQ(length % 384, 0u);
    // Lossy formats carry encoder delay in their stated length; a frame or two either way.
    EXPECT_NEAR(static_cast<double>(length / 384), 125, 3);
    ExpectFrames(answer.body, 0);
    std::vector<float> samples = Decode(answer.body);
    EXPECT_NEAR(FirstLoud(samples), 48000, 48000 * 0.03);
  }
}

TEST_F(TranscodeTest, RefusalsWriteNothing) {
  std::string garbage = dir_ + "/garbage.flac";
  WriteFile(garbage, PatternBytes(10000));
  std::string picture_only = dir_ + "/picture.mp3";
  WriteFile(picture_only, "\xFF\xD8\xFF\xE0 not audio at all");
  struct Case {
    TrackRecord record;
    const char* format;
    int64_t bit_rate;
  };
  const Case cases[] = {
      {MakeRecord(1, garbage), "mp3", 128000},
      {MakeRecord(1, picture_only), "mp3", 128000},
      {MakeRecord(1, dir_ + "/missing.flac"), "mp3", 128000},
      {MakeRecord(1, dir_), "mp3", 128000},
      {MakeRecord(1, source_), "ogg", 128000},
      {MakeRecord(1, source_), "mp3", 100000},
      {MakeRecord(1, source_), "mp3", 0},
      {MakeRecord(1, source_, 2, 9000, 8000), "mp3", 128000},
      {MakeRecord(1, source_, 2, 10000, 0), "mp3", 128000},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::string(c.record.path) + " " + c.format + " " + std::to_string(c.bit_rate));
    Answer answer = Transcode(c.record, {}, c.format, c.bit_rate);
    EXPECT_EQ(answer.result, -1);
    EXPECT_EQ(answer.head + answer.body, "");
  }
  CgiEnvironment environment({});
  EXPECT_EQ(QUORAudioTranscodeSong(nullptr, "mp3", 0, 0, 128000), -1);
}

// Whatever a damaged file holds, an answer either never starts or carries exactly the bytes it
// announced, in whole frames.
TEST_F(TranscodeTest, DamagedFilesKeepTheAnnouncedLength) {
  const std::string flac = ReadFile(source_);
  std::string mp3_path = dir_ + "/tone.mp3";
  ASSERT_TRUE(MakeAudio(mp3_path, 10, 44100, 2, kBurstSeconds));
  const std::string mp3 = ReadFile(mp3_path);
  std::string lying_wav =
      std::string("RIFF\xFF\xFF\xFF\x7FWAVEfmt ", 16) +
      std::string("\x10\0\0\0\x01\0\x02\0\x44\xAC\0\0\x10\xB1\x02\0\x04\0\x10\0", 20) +
      std::string("data\xF0\xFF\xFF\x7F", 8) + PatternBytes(44100 * 4);
  struct Case {
    const char* name;
    std::string bytes;
    bool must_answer;
  };
  std::string holed = flac;
  holed.replace(holed.size() / 2, 4096, PatternBytes(4096));
  std::string holed_mp3 = mp3;
  holed_mp3.replace(mp3.size() / 3, 20000, std::string(20000, '\0'));
  const Case cases[] = {
      {"half.flac", flac.substr(0, flac.size() / 2), true}, {"holed.flac", holed, true},
      {"head_only.flac", flac.substr(0, 8192), false},      {"holed.mp3", holed_mp3, true},
      {"half.mp3", mp3.substr(0, mp3.size() / 2), false},   {"lying.wav", lying_wav, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::string path = dir_ + "/" + c.name;
    WriteFile(path, c.bytes);
    Answer answer = Transcode(MakeRecord(1, path));
    if (answer.result != 0) {
      EXPECT_FALSE(c.must_answer);
      EXPECT_EQ(answer.head + answer.body, "");
      continue;
    }
    uint64_t length = std::stoull(Header(answer.head, "Content-Length"));
    EXPECT_EQ(answer.body.size(), length);
    EXPECT_EQ(length % 384, 0u);
    ExpectFrames(answer.body, 0);
  }
}

TEST_F(TranscodeTest, StopsWhenThePeerLeaves) {
  QUOR::SetOutputWantedHook(OutputWanted);
  g_output_wanted = false;
  Answer answer = Transcode(MakeRecord(1, source_));
  EXPECT_EQ(answer.result, 0);  // the header was out: the answer stands, cut short
  EXPECT_EQ(Header(answer.head, "Content-Length"), "160128");
  EXPECT_EQ(answer.body.size(), 384u);
  EXPECT_EQ(g_output_checks, 1);
}

}  // namespace
}  // namespace Sonvik::testing
