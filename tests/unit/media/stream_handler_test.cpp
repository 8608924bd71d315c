// The stream and transcode handlers: exact bytes, log lines and credential switches.
#include "voice_module/handlers/stream_handler.h"

#include <sys/stat.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "handler_fixture.h"
#include "host/api/cgi_output.h"
#include "voice_module/module/handlers.h"

namespace Sonvik::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::StartsWith;

std::vector<uid_t> g_euid_during_send;
bool g_output_wanted = true;
bool RecordingSendFile(int fd, off_t offset, size_t count) {
  g_euid_during_send.push_back(::geteuid());
  std::vector<char> buffer(count);
  return ::pread(fd, buffer.data(), count, offset) == static_cast<ssize_t>(count) &&
         ::write(1, buffer.data(), count) == static_cast<ssize_t>(count);
}
bool RefuseSendFile(int, off_t, size_t) { return false; }
std::vector<uid_t> g_euid_during_output;
bool OutputWanted() {
  g_euid_during_output.push_back(::geteuid());
  return g_output_wanted;
}

class StreamHandlerTest : public MediaHandlerTest {
 protected:
  void SetUp() override {
    MediaHandlerTest::SetUp();
    dir_ = ScratchDir("stream");
    g_euid_during_send.clear();
    g_euid_during_output.clear();
    g_output_wanted = true;
  }
  void TearDown() override {
    QUOR::SetSendFileHook(nullptr);
    QUOR::SetOutputWantedHook(nullptr);
    MediaHandlerTest::TearDown();
  }
  void AddTrack(int id, const std::string& path, int virtual_index = 0, int result = 0) {
    FakeTracks()[std::to_string(id)] = {MakeRecord(id, path, virtual_index), result};
  }
  std::string dir_;
};

TEST_F(StreamHandlerTest, StreamsAPlainFileAsRoot) {
  // Only root may read the file: the handler must switch for the output and back after it.
  std::string path = dir_ + "/only_root.mp3";
  std::string content = PatternBytes(3000);
  WriteFile(path, content);
  ::chmod(path.c_str(), 0600);
  AddTrack(5, path);
  QUOR::SetSendFileHook(RecordingSendFile);

  HandlerAnswer answer = Call(StreamAudio, 5, {{"HTTP_RANGE", "bytes=1000-1999"}});
  EXPECT_THAT(answer.output, StartsWith("Accept-Ranges: bytes \r\nStatus: 206 Partial Content\r\n"
                                        "Content-Type: audio/mpeg\r\n"
                                        "Content-Range: bytes 1000-1999/3000\r\n"
                                        "Content-Length: 1000\r\n"));
  EXPECT_EQ(answer.output.substr(answer.output.find("\r\n\r\n") + 4), content.substr(1000, 1000));
  EXPECT_THAT(g_euid_during_send, ElementsAre(0u));
  EXPECT_EQ(answer.euid_after, service_uid_);
  EXPECT_FALSE(answer.response.output_enabled());
  EXPECT_EQ(answer.response.state(), QUOR::APIResponse::State::kUnanswered);
  EXPECT_TRUE(LogTexts().empty());
}

TEST_F(StreamHandlerTest, UnknownTrackAnswers404) {
  AddTrack(6, dir_ + "/x.mp3", 0, 1);  // any non-zero lookup result is refused
  for (int id : {7, 6}) {
    ClearCapturedLog();
    HandlerAnswer answer = Call(StreamAudio, id);
    EXPECT_EQ(answer.output, k404);
    EXPECT_THAT(LogTexts(), ElementsAre("stream_handler:29 Failed to get track info by id " +
                                        std::to_string(id)));
    EXPECT_FALSE(answer.response.output_enabled());
    EXPECT_EQ(answer.response.state(), QUOR::APIResponse::State::kUnanswered);
  }
}

TEST_F(StreamHandlerTest, DeletedFileAnswers404WithoutAcceptRanges) {
  AddTrack(8, dir_ + "/gone.flac");
  HandlerAnswer answer = Call(StreamAudio, 8);
  EXPECT_EQ(answer.output, k404);
  // The error text is read after switching back, so it is whatever errno the switch left.
  EXPECT_THAT(LogTexts(), ElementsAre(StartsWith("stream_handler:37 Failed to stat track file " +
                                                 dir_ + "/gone.flac ")));
  EXPECT_EQ(answer.euid_after, service_uid_);
}

TEST_F(StreamHandlerTest, DirectoryIsNotATrackFile) {
  AddTrack(9, dir_);
  for (auto handler : {StreamAudio, TranscodeAudio}) {
    ClearCapturedLog();
    HandlerAnswer answer = Call(handler, 9);
    EXPECT_EQ(answer.output, k404);
    auto log = LogTexts();
    ASSERT_EQ(log.size(), 1u);
    EXPECT_THAT(log[0], StartsWith("stream_handler:37 Failed to stat track file " + dir_ + " "));
  }
}

TEST_F(StreamHandlerTest, RecordIsClearedWhenTheFileIsUnusable) {
  AddTrack(10, dir_ + "/gone.flac", 3);
  QUOR::APIRequest request({{"track_id", "10"}}, {1024, "alice", ""});
  QUOR::APIResponse response;
  StreamHandler handler(&request, &response);
  EXPECT_FALSE(handler.SetTrackById(10));
  // A cleared record is a plain track with an empty path: Stream() then outputs nothing usable.
  StdoutCapture capture;
  EXPECT_TRUE(handler.Stream());
  EXPECT_EQ(capture.Finish(), "");
  EXPECT_THAT(LogTexts(), ElementsAre(StartsWith("stream_handler:37 "),
                                      "stream_handler:18 Failed to output track []"));
}

TEST_F(StreamHandlerTest, VirtualTrackSeekFailureFollowsAcceptRanges) {
  std::string path = dir_ + "/broken.flac";
  WriteFile(path, "this is not audio");
  AddTrack(11, path, 4);
  HandlerAnswer answer = Call(StreamAudio, 11);
  EXPECT_EQ(answer.output, std::string("Accept-Ranges: bytes \r\n") + k404);
  EXPECT_THAT(LogTexts(),
              ElementsAre("stream_handler:54 Failed to seek virtual track [" + path + "] 4"));
  EXPECT_EQ(answer.euid_after, service_uid_);
}

TEST_F(StreamHandlerTest, FailedPlainOutputIsLoggedWithout404) {
  std::string path = dir_ + "/song.ogg";
  WriteFile(path, PatternBytes(100));
  AddTrack(12, path);
  QUOR::SetSendFileHook(RefuseSendFile);
  QUOR::SetOutputWantedHook(OutputWanted);
  g_output_wanted = false;  // the peer went away before the body
  HandlerAnswer answer = Call(StreamAudio, 12);
  EXPECT_THAT(answer.output, StartsWith("Accept-Ranges: bytes \r\nContent-Type: audio/ogg\r\n"));
  EXPECT_EQ(answer.output.find("404"), std::string::npos);
  EXPECT_THAT(LogTexts(), ElementsAre("stream_handler:18 Failed to output track [" + path + "]"));
  EXPECT_EQ(answer.euid_after, service_uid_);
}

TEST_F(StreamHandlerTest, TranscodeRefusesOtherExtensionsSilently) {
  std::string path = dir_ + "/notes.txt";
  WriteFile(path, "text");
  AddTrack(13, path);
  HandlerAnswer answer = Call(TranscodeAudio, 13);
  EXPECT_EQ(answer.output, k404);
  EXPECT_TRUE(LogTexts().empty());
  EXPECT_FALSE(answer.response.output_enabled());

  answer = Call(TranscodeAudio, 14);
  EXPECT_EQ(answer.output, k404);
  EXPECT_THAT(LogTexts(), ElementsAre("stream_handler:29 Failed to get track info by id 14"));
}

TEST_F(StreamHandlerTest, VirtualTrackStreamsItsSegmentAsRoot) {
  std::string path = dir_ + "/album.flac";
  ASSERT_TRUE(MakeAudio(path, 3, 44100, 2));
  ::chmod(path.c_str(), 0600);
  AddTrack(15, path, 2);
  FakeTracks()["15"].record.start_ms = 1000;
  FakeTracks()["15"].record.end_ms = 2000;
  QUOR::SetOutputWantedHook(OutputWanted);
  HandlerAnswer answer = Call(StreamAudio, 15);
  EXPECT_THAT(answer.output, StartsWith("Accept-Ranges: bytes \r\nContent-Type: audio/wav\r\n"
                                        "Content-Length: 176444\r\n"));
  EXPECT_EQ(SplitAnswer(answer.output).second.size(), 176444u);
  ASSERT_FALSE(g_euid_during_output.empty());
  EXPECT_EQ(g_euid_during_output[0], 0u);
  EXPECT_EQ(answer.euid_after, service_uid_);
  EXPECT_TRUE(LogTexts().empty());
}

TEST_F(StreamHandlerTest, TranscodesAsTheServiceAccount) {
  std::string path = dir_ + "/song.flac";
  ASSERT_TRUE(MakeAudio(path, 2, 44100, 2));
  AddTrack(16, path);
  QUOR::SetOutputWantedHook(OutputWanted);
  HandlerAnswer answer = Call(TranscodeAudio, 16);
  // 2 s at 48 kHz: 84 frames of 384 bytes.
  EXPECT_THAT(answer.output, StartsWith("Content-Type: audio/mpeg\r\nContent-Length: 32256\r\n"));
  EXPECT_EQ(SplitAnswer(answer.output).second.size(), 32256u);
  ASSERT_FALSE(g_euid_during_output.empty());
  EXPECT_EQ(g_euid_during_output[0], service_uid_);
  EXPECT_FALSE(answer.response.output_enabled());
  EXPECT_TRUE(LogTexts().empty());

  // Read only by root: the service account cannot open it, and the transcode fails.
  ::chmod(path.c_str(), 0600);
  answer = Call(TranscodeAudio, 16);
  EXPECT_EQ(answer.output, k404);
  EXPECT_THAT(LogTexts(),
              ElementsAre("stream_handler:69 Failed to transcode track [" + path + "] to mp3"));
}

TEST_F(StreamHandlerTest, UndecodableTrackFailsTheTranscode) {
  std::string path = dir_ + "/broken.m4a";
  WriteFile(path, PatternBytes(4000));
  AddTrack(17, path);
  HandlerAnswer answer = Call(TranscodeAudio, 17);
  EXPECT_EQ(answer.output, k404);
  EXPECT_THAT(LogTexts(),
              ElementsAre("stream_handler:69 Failed to transcode track [" + path + "] to mp3"));
}

TEST_F(StreamHandlerTest, Output404NotFoundBytes) {
  StdoutCapture capture;
  Output404NotFound();
  EXPECT_EQ(capture.Finish(), k404);
}

}  // namespace
}  // namespace Sonvik::testing
