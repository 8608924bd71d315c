// stream, transcode and get_cover over HTTP against the real server and a scanned library.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "media_fixture.h"

namespace Sonvik::e2e {
namespace {

using ::testing::StartsWith;

class StreamTest : public MediaTest {
 protected:
  HttpResponse Stream(const std::string& method, int id, const Headers& headers = {}) {
    return LoggedInClient()->Call(kStream, method, {{"track_id", std::to_string(id)}}, 1, headers);
  }
  static void Expect404(const HttpResponse& response) {
    EXPECT_EQ(response.status, 404);
    EXPECT_EQ(response.Header("Cache-control"), "no-store");
    EXPECT_FALSE(response.HasHeader("Accept-Ranges"));
    EXPECT_EQ(response.body, "");
  }
};

TEST_F(StreamTest, WholeAndRangedStreamsAreTheFileBytes) {
  const std::string path = Path("album/tone.flac");
  const std::string file = ReadFile(path);
  const int id = TrackId(path);
  ASSERT_GT(id, 0);

  HttpResponse whole = Stream("stream", id);
  ASSERT_EQ(whole.status, 200);
  EXPECT_THAT(whole.Header("Accept-Ranges"), StartsWith("bytes"));
  EXPECT_EQ(whole.Header("Content-Type"), "audio/flac");
  EXPECT_EQ(whole.Header("Content-Length"), std::to_string(file.size()));
  EXPECT_FALSE(whole.Header("ETag").empty());
  EXPECT_FALSE(whole.Header("Last-Modified").empty());
  EXPECT_TRUE(whole.body == file) << "whole stream differs from the file";

  // What `curl -r 1000-1999` asks for.
  HttpResponse range = Stream("stream", id, {"Range: bytes=1000-1999"});
  ASSERT_EQ(range.status, 206);
  EXPECT_EQ(range.Header("Content-Range"), "bytes 1000-1999/" + std::to_string(file.size()));
  EXPECT_EQ(range.Header("Content-Length"), "1000");
  EXPECT_TRUE(range.body == file.substr(1000, 1000));

  HttpResponse suffix = Stream("stream", id, {"Range: bytes=-777"});
  EXPECT_EQ(suffix.status, 206);
  EXPECT_TRUE(suffix.body == file.substr(file.size() - 777));

  HttpResponse beyond = Stream("stream", id, {"Range: bytes=" + std::to_string(file.size()) + "-"});
  EXPECT_EQ(beyond.status, 416);
  EXPECT_EQ(beyond.Header("Content-Range"), "bytes */" + std::to_string(file.size()));

  HttpResponse cached = Stream("stream", id, {"If-None-Match: " + whole.Header("ETag")});
  EXPECT_EQ(cached.status, 304);
  EXPECT_EQ(cached.body, "");

  HttpResponse head = LoggedInClient()->Head(
      "/webapi/entry?" + HttpClient::EntryQuery(kStream, "stream",
                                                {{"track_id", std::to_string(id)}, {"_sid", Sid()}},
                                                1));
  EXPECT_EQ(head.status, 200);
  EXPECT_EQ(head.Header("Content-Length"), std::to_string(file.size()));
  EXPECT_EQ(head.body, "");
  EXPECT_TRUE(syslog().Matching("stream_handler:").empty());
}

TEST_F(StreamTest, MissingFileAndFolderAnswer404) {
  for (const char* relative : {"gone/deleted.mp3", "gone/replaced.mp3"}) {
    SCOPED_TRACE(relative);
    const int id = TrackId(Path(relative));
    ASSERT_GT(id, 0);
    Expect404(Stream("stream", id));
    Expect404(Stream("transcode", id));
    EXPECT_TRUE(
        syslog().WaitFor("stream_handler:37 Failed to stat track file " + Path(relative) + " "));
  }
  Expect404(Stream("stream", 999999));
  EXPECT_TRUE(syslog().WaitFor("stream_handler:29 Failed to get track info by id 999999"));

  // The raw answer: the module's two header lines become the status line and one field.
  RawConnection raw(server().port());
  ASSERT_TRUE(raw.connected());
  ASSERT_TRUE(raw.Send(
      "GET /webapi/entry?" +
      HttpClient::EntryQuery(
          kStream, "stream",
          {{"track_id", std::to_string(TrackId(Path("gone/deleted.mp3")))}, {"_sid", Sid()}}, 1) +
      " HTTP/1.1\r\nHost: test\r\nConnection: close\r\n\r\n"));
  std::string answer = raw.ReadUntilClosed();
  EXPECT_THAT(answer, StartsWith("HTTP/1.1 404 Not Found\r\n"));
  EXPECT_THAT(answer, ::testing::HasSubstr("\r\nCache-control: no-store\r\n"));
  EXPECT_THAT(answer, ::testing::Not(::testing::HasSubstr("Accept-Ranges")));
  EXPECT_THAT(answer, ::testing::EndsWith("\r\n\r\n"));
}

TEST_F(StreamTest, VirtualTrackIsItsSegmentAsWav) {
  const int id = TrackId(Path("cue/album.flac"), 2);
  ASSERT_GT(id, 0);
  HttpResponse response = Stream("stream", id);
  ASSERT_EQ(response.status, 200);
  EXPECT_EQ(response.Header("Content-Type"), "audio/wav");
  // 4 s to 7 s of a 44.1 kHz stereo file.
  EXPECT_EQ(response.Header("Content-Length"), std::to_string(44 + 3 * 44100 * 4));
  ASSERT_EQ(response.body.size(), 44u + 3u * 44100u * 4u);
  const std::string saved = std::string(kMusic) + "/../segment.wav";
  WriteFile(saved, response.body);
  std::string probe = Probe(saved);
  EXPECT_EQ(ProbeValue(probe, "codec_name"), "pcm_s16le");
  EXPECT_NEAR(std::stod(ProbeValue(probe, "duration")), 3.0, 0.001);

  HttpResponse tail = Stream("stream", id, {"Range: bytes=100000-"});
  EXPECT_EQ(tail.status, 206);
  EXPECT_TRUE(tail.body == response.body.substr(100000));
}

TEST_F(StreamTest, FlacTranscodesToConstantRateMp3) {
  const int id = TrackId(Path("album/tone.flac"));
  ASSERT_GT(id, 0);
  HttpResponse response = Stream("transcode", id);
  ASSERT_EQ(response.status, 200);
  EXPECT_EQ(response.Header("Content-Type"), "audio/mpeg");
  EXPECT_EQ(response.Header("Accept-Ranges"), "bytes");
  // 10 s at 48 kHz: 417 frames of 384 bytes.
  EXPECT_EQ(response.Header("Content-Length"), "160128");
  ASSERT_EQ(response.body.size(), 160128u);
  const std::string saved = std::string(kMusic) + "/../whole.mp3";
  WriteFile(saved, response.body);
  std::string probe = Probe(saved);
  EXPECT_EQ(ProbeValue(probe, "codec_name"), "mp3");
  EXPECT_EQ(ProbeValue(probe, "sample_rate"), "48000");
  EXPECT_EQ(ProbeValue(probe, "bit_rate"), "128000");
  EXPECT_NEAR(std::stod(ProbeValue(probe, "duration")), 10.0, 0.024);
}

TEST_F(StreamTest, RangedTranscodeFromTheMiddle) {
  const int id = TrackId(Path("album/tone.flac"));
  ASSERT_GT(id, 0);
  HttpResponse response = Stream("transcode", id, {"Range: bytes=80000-"});
  ASSERT_EQ(response.status, 206);
  EXPECT_EQ(response.Header("Content-Range"), "bytes 80000-160127/160128");
  EXPECT_EQ(response.Header("Content-Length"), "80128");
  ASSERT_EQ(response.body.size(), 80128u);
  // From the next frame boundary (256 bytes in) the rest decodes as MP3 of the remaining time.
  const std::string saved = std::string(kMusic) + "/../tail.mp3";
  WriteFile(saved, response.body.substr(256));
  std::string probe = Probe(saved);
  EXPECT_EQ(ProbeValue(probe, "codec_name"), "mp3");
  EXPECT_NEAR(std::stod(ProbeValue(probe, "duration")), (417 - 209) * 0.024, 0.024);
  CommandResult decoded =
      RunProgram("/usr/bin/ffmpeg", {"-v", "error", "-i", saved, "-f", "null", "-"});
  EXPECT_EQ(decoded.exit_code, 0) << decoded.err;
  EXPECT_EQ(decoded.err, "");
}

TEST_F(StreamTest, CoversEmbeddedFolderAndNone) {
  HttpResponse embedded = LoggedInClient()->Call(
      kBrowse, "get_cover", {{"track_id", std::to_string(TrackId(Path("album/tone.flac")))}});
  ASSERT_EQ(embedded.status, 200);
  EXPECT_EQ(embedded.Header("Content-Type"), "image/png");
  EXPECT_TRUE(embedded.body == ReadFile(Path("red.png")));

  HttpResponse folder = LoggedInClient()->Call(
      kBrowse, "get_cover", {{"track_id", std::to_string(TrackId(Path("folder/song.mp3")))}});
  ASSERT_EQ(folder.status, 200);
  EXPECT_EQ(folder.Header("Content-Type"), "image/jpeg");
  EXPECT_TRUE(folder.body == ReadFile(Path("folder/Cover.JPG")));

  HttpResponse none = LoggedInClient()->Call(
      kBrowse, "get_cover", {{"track_id", std::to_string(TrackId(Path("bare/plain.ogg")))}});
  Expect404(none);
  EXPECT_TRUE(syslog().Matching("browse_handler:").empty());

  Expect404(LoggedInClient()->Call(kBrowse, "get_cover", {{"track_id", "999999"}}));
  EXPECT_TRUE(syslog().WaitFor("browse_handler:24 Failed to get track path [999999]."));
}

}  // namespace
}  // namespace Sonvik::e2e
