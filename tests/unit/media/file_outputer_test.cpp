// HTTPFileOutputer against real files, with and without the host's sendfile path.
#include <gtest/gtest.h>
#include <sys/types.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "host/api/cgi_output.h"
#include "media_test_support.h"
#include "package/audio/audio_output.h"

namespace Sonvik::testing {
namespace {

struct SendFileCall {
  off_t offset;
  size_t count;
};
std::vector<SendFileCall> g_send_file_calls;
bool g_output_wanted = true;

// Behaves like the host: the bytes go straight to fd 1, past stdio.
bool FakeSendFile(int fd, off_t offset, size_t count) {
  g_send_file_calls.push_back({offset, count});
  std::vector<char> buffer(count);
  if (::pread(fd, buffer.data(), count, offset) != static_cast<ssize_t>(count)) return false;
  return ::write(1, buffer.data(), count) == static_cast<ssize_t>(count);
}
bool RefuseSendFile(int, off_t, size_t) { return false; }
bool OutputWanted() { return g_output_wanted; }

class FileOutputerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = ScratchDir("outputer");
    path_ = dir_ + "/song.flac";
    content_ = PatternBytes(2000);
    WriteFile(path_, content_);
    SetModificationTime(path_, 784111777, 5);
    g_send_file_calls.clear();
    g_output_wanted = true;
  }
  void TearDown() override {
    QUOR::SetSendFileHook(nullptr);
    QUOR::SetOutputWantedHook(nullptr);
  }
  // Output() under the given request variables: its result and everything it wrote.
  std::pair<int, std::string> Output(
      std::initializer_list<std::pair<const char*, std::string>> variables,
      const char* content_type = nullptr) const {
    CgiEnvironment environment(variables);
    StdoutCapture capture;
    int result = HTTPFileOutputer().Output(path_.c_str(), content_type);
    return {result, capture.Finish()};
  }

  static constexpr const char* kValidators =
      "Last-Modified: Sun, 06 Nov 1994 08:49:37 GMT\r\nETag: \"7d0-ae1b981bc490a05\"\r\n";
  std::string dir_;
  std::string path_;
  std::string content_;
};

TEST_F(FileOutputerTest, WholeFileThroughStdout) {
  auto [result, output] = Output({});
  EXPECT_EQ(result, 0);
  EXPECT_EQ(output, std::string("Content-Type: audio/flac\r\nContent-Length: 2000\r\n") +
                        kValidators + "\r\n" + content_);
}

TEST_F(FileOutputerTest, WholeFileThroughSendfile) {
  QUOR::SetSendFileHook(FakeSendFile);
  auto [result, output] = Output({}, "audio/x-test");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(output, std::string("Content-Type: audio/x-test\r\nContent-Length: 2000\r\n") +
                        kValidators + "\r\n" + content_);
  ASSERT_EQ(g_send_file_calls.size(), 1u);
  EXPECT_EQ(g_send_file_calls[0].offset, 0);
  EXPECT_EQ(g_send_file_calls[0].count, 2000u);
}

TEST_F(FileOutputerTest, SingleRanges) {
  struct Case {
    const char* range;
    size_t first;
    size_t length;
  };
  const Case cases[] = {{"bytes=1000-1999", 1000, 1000},
                        {"bytes=-500", 1500, 500},
                        {"bytes=1990-", 1990, 10},
                        {"bytes=0-0", 0, 1},
                        {"bytes=100-5000", 100, 1900}};
  for (bool sendfile : {false, true}) {
    QUOR::SetSendFileHook(sendfile ? FakeSendFile : RefuseSendFile);
    for (const auto& c : cases) {
      SCOPED_TRACE(std::string(c.range) + (sendfile ? " sendfile" : " stdout"));
      auto [result, output] = Output({{"HTTP_RANGE", c.range}});
      EXPECT_EQ(result, 0);
      std::string last = std::to_string(c.first + c.length - 1);
      EXPECT_EQ(output,
                "Status: 206 Partial Content\r\nContent-Type: audio/flac\r\n"
                "Content-Range: bytes " +
                    std::to_string(c.first) + "-" + last +
                    "/2000\r\nContent-Length: " + std::to_string(c.length) + "\r\n" + kValidators +
                    "\r\n" + content_.substr(c.first, c.length));
    }
  }
}

TEST_F(FileOutputerTest, UnsatisfiableAndMultipleRanges) {
  auto [result, output] = Output({{"HTTP_RANGE", "bytes=2000-"}});
  EXPECT_EQ(result, 0);
  EXPECT_EQ(output,
            "Status: 416 Range Not Satisfiable\r\nContent-Range: bytes */2000\r\n"
            "Content-Length: 0\r\n\r\n");

  std::tie(result, output) = Output({{"HTTP_RANGE", "bytes=0-9,20-29"}});
  EXPECT_EQ(output.substr(0, 25), "Content-Type: audio/flac\r");
  EXPECT_EQ(output.size() - output.find("\r\n\r\n") - 4, 2000u);
}

TEST_F(FileOutputerTest, ConditionalRequests) {
  const std::string etag = "\"7d0-ae1b981bc490a05\"";
  const std::string not_modified =
      std::string("Status: 304 Not Modified\r\n") + kValidators + "\r\n";
  EXPECT_EQ(Output({{"HTTP_IF_NONE_MATCH", etag}}).second, not_modified);
  EXPECT_EQ(Output({{"HTTP_IF_MODIFIED_SINCE", "Sun, 06 Nov 1994 08:49:37 GMT"}}).second,
            not_modified);
  EXPECT_EQ(Output({{"HTTP_IF_NONE_MATCH", "\"old\""}}).second.size(),
            std::string("Content-Type: audio/flac\r\nContent-Length: 2000\r\n").size() +
                std::string(kValidators).size() + 2 + 2000);

  // A stale If-Range gets the whole new file instead of a piece of it.
  auto [result, output] = Output({{"HTTP_RANGE", "bytes=0-9"}, {"HTTP_IF_RANGE", "\"old\""}});
  EXPECT_EQ(output.substr(0, 13), "Content-Type:");
  std::tie(result, output) = Output({{"HTTP_RANGE", "bytes=0-9"}, {"HTTP_IF_RANGE", etag}});
  EXPECT_EQ(output.substr(0, 27), "Status: 206 Partial Content");

  // A new modification time is a new representation.
  SetModificationTime(path_, 784111777, 6);
  EXPECT_EQ(Output({{"HTTP_IF_NONE_MATCH", etag}}).second.substr(0, 13), "Content-Type:");
}

TEST_F(FileOutputerTest, HeadWritesHeadersOnly) {
  QUOR::SetSendFileHook(FakeSendFile);
  auto [result, output] = Output({{"REQUEST_METHOD", "HEAD"}});
  EXPECT_EQ(result, 0);
  EXPECT_EQ(output, std::string("Content-Type: audio/flac\r\nContent-Length: 2000\r\n") +
                        kValidators + "\r\n");
  std::tie(result, output) = Output({{"REQUEST_METHOD", "HEAD"}, {"HTTP_RANGE", "bytes=5-9"}});
  EXPECT_NE(output.find("Content-Range: bytes 5-9/2000\r\nContent-Length: 5\r\n"),
            std::string::npos);
  EXPECT_EQ(output.substr(output.size() - 4), "\r\n\r\n");
  EXPECT_TRUE(g_send_file_calls.empty());
}

TEST_F(FileOutputerTest, EmptyFile) {
  WriteFile(path_, "");
  auto [result, output] = Output({});
  EXPECT_EQ(result, 0);
  EXPECT_NE(output.find("Content-Length: 0\r\n"), std::string::npos);
  std::tie(result, output) = Output({{"HTTP_RANGE", "bytes=0-"}});
  EXPECT_EQ(output.substr(0, 34), "Status: 416 Range Not Satisfiable\r");
}

TEST_F(FileOutputerTest, FailuresWriteNothingBeforeTheHeader) {
  for (std::string path : {dir_ + "/missing.flac", dir_, std::string("/dev/null")}) {
    CgiEnvironment environment({});
    StdoutCapture capture;
    EXPECT_EQ(HTTPFileOutputer().Output(path.c_str(), nullptr), -1) << path;
    EXPECT_EQ(capture.Finish(), "") << path;
  }
  CgiEnvironment environment({});
  EXPECT_EQ(HTTPFileOutputer().Output(nullptr, nullptr), -1);
}

TEST_F(FileOutputerTest, PeerGoneFailsTheBody) {
  QUOR::SetSendFileHook(RefuseSendFile);
  QUOR::SetOutputWantedHook(OutputWanted);
  g_output_wanted = false;
  auto [result, output] = Output({});
  EXPECT_EQ(result, -1);
  EXPECT_EQ(output.find("\r\n\r\n") + 4, output.size()) << "no body after the header block";
}

}  // namespace
}  // namespace Sonvik::testing
