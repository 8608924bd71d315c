// A handler's stdout turned into an HTTP response on a socket: framing, HEAD, sendfile, broken
// header blocks, and the host hooks installed only while a request runs.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <string>

#include "host/api/cgi_output.h"
#include "host/server/cgi_stdout.h"
#include "host/server/response_writer.h"
#include "package/util/unique_fd.h"

namespace QUOR::server {
namespace {

class CgiOutputTest : public ::testing::Test {
 protected:
  void SetUp() override {
    int fds[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, fds), 0);
    server_.Reset(fds[0]);
    client_.Reset(fds[1]);
    request_.method = "GET";
    request_.target = "/webapi/entry";
  }

  // Runs `handler` with stdout redirected as the server does, then ends the output.
  template <typename Handler>
  ResponseWriter& Run(Handler handler) {
    writer_ = std::make_unique<ResponseWriter>(server_.get(), request_);
    {
      CgiStdoutScope scope(writer_.get());
      handler();
    }
    writer_->FinishCgi();
    return *writer_;
  }

  std::string Received() {
    server_.Reset();
    std::string bytes;
    char buffer[4096];
    ssize_t got;
    while ((got = read(client_.get(), buffer, sizeof(buffer))) > 0) bytes.append(buffer, got);
    return bytes;
  }

  // The response without its Date field, which changes every second.
  std::string ReceivedWithoutDate() {
    std::string bytes = Received();
    size_t date = bytes.find("Date: ");
    if (date != std::string::npos) bytes.erase(date, bytes.find("\r\n", date) + 2 - date);
    return bytes;
  }

  Sonvik::util::UniqueFd server_, client_;
  HttpRequest request_;
  std::unique_ptr<ResponseWriter> writer_;
};

TEST_F(CgiOutputTest, StatusLineAndChunkedBodyFromStdio) {
  ResponseWriter& writer = Run([] {
    std::printf("Status: 404 Not Found\r\nContent-Type: text/plain\r\n\r\n");
    std::fflush(stdout);
    std::fputs("nope", stdout);
  });
  EXPECT_TRUE(writer.cgi_started());
  EXPECT_EQ(writer.status(), 404);
  EXPECT_EQ(writer.body_bytes(), 4u);
  EXPECT_TRUE(writer.keep_alive());
  EXPECT_EQ(ReceivedWithoutDate(),
            "HTTP/1.1 404 Not Found\r\nContent-Type: text/plain\r\n"
            "Transfer-Encoding: chunked\r\nConnection: keep-alive\r\n\r\n"
            "4\r\nnope\r\n0\r\n\r\n");
}

TEST_F(CgiOutputTest, ContentLengthBodyPassesThroughAndExcessIsDropped) {
  ResponseWriter& writer =
      Run([] { std::printf("Content-Type: audio/mpeg\r\nContent-Length: 5\r\n\r\n0123456789"); });
  EXPECT_EQ(writer.body_bytes(), 5u);
  EXPECT_FALSE(writer.keep_alive());  // the client must not read the excess as a response
  std::string received = ReceivedWithoutDate();
  EXPECT_EQ(received.substr(received.find("\r\n\r\n") + 4), "01234");
  EXPECT_NE(received.find("Content-Length: 5\r\n"), std::string::npos);
}

TEST_F(CgiOutputTest, ShortBodyClosesTheConnection) {
  ResponseWriter& writer = Run([] { std::printf("Content-Length: 10\r\n\r\nabc"); });
  EXPECT_EQ(writer.body_bytes(), 3u);
  EXPECT_FALSE(writer.keep_alive());
}

TEST_F(CgiOutputTest, HeadRequestGetsHeadersOnly) {
  request_.method = "HEAD";
  ResponseWriter& writer =
      Run([] { std::printf("Content-Type: audio/flac\r\nContent-Length: 4\r\n\r\nfLaC"); });
  EXPECT_TRUE(writer.keep_alive());
  std::string received = ReceivedWithoutDate();
  EXPECT_EQ(received,
            "HTTP/1.1 200 OK\r\nContent-Type: audio/flac\r\nContent-Length: 4\r\n"
            "Connection: keep-alive\r\n\r\n");
}

TEST_F(CgiOutputTest, UnfinishedOrMalformedHeaderBlockIs500) {
  ResponseWriter& unfinished = Run([] { std::printf("Content-Type: audio/mpeg\r\n"); });
  EXPECT_EQ(unfinished.status(), 500);
  EXPECT_FALSE(unfinished.keep_alive());
  EXPECT_EQ(Received().rfind("HTTP/1.1 500 Internal Server Error\r\n", 0), 0u);

  SetUp();
  ResponseWriter& malformed = Run([] { std::printf("this is no header\r\n\r\nbody"); });
  EXPECT_EQ(malformed.status(), 500);
  EXPECT_EQ(Received().rfind("HTTP/1.1 500 ", 0), 0u);
}

TEST_F(CgiOutputTest, NothingWrittenLeavesTheAnswerToTheHost) {
  ResponseWriter& writer = Run([] {});
  EXPECT_FALSE(writer.cgi_started());
  EXPECT_FALSE(writer.anything_sent());
  writer.SendWhole(200, "application/json", "{}");
  std::string received = ReceivedWithoutDate();
  EXPECT_NE(received.find("Content-Length: 2\r\n"), std::string::npos);
  EXPECT_EQ(received.substr(received.size() - 2), "{}");
}

TEST_F(CgiOutputTest, SendFileGoesOutOnlyAfterTheHeaderBlockAndCountsAgainstTheLength) {
  char path[] = "/tmp/sonvik-cgi-output-XXXXXX";
  Sonvik::util::UniqueFd file(mkstemp(path));
  ASSERT_TRUE(file.valid());
  unlink(path);
  ASSERT_EQ(write(file.get(), "0123456789", 10), 10);
  bool before_headers = true, after_headers = false;
  ResponseWriter& writer = Run([&] {
    std::printf("Content-Type: application/octet-stream\r\n");
    before_headers = QUOR::SendFileToOutput(file.get(), 0, 4);
    std::printf("Content-Length: 6\r\n\r\n");
    after_headers = QUOR::SendFileToOutput(file.get(), 2, 6);
  });
  EXPECT_FALSE(before_headers);
  EXPECT_TRUE(after_headers);
  EXPECT_EQ(writer.body_bytes(), 6u);
  EXPECT_TRUE(writer.keep_alive());
  std::string received = Received();
  EXPECT_EQ(received.substr(received.find("\r\n\r\n") + 4), "234567");
  // Outside a request the host offers no sendfile path and nobody is gone.
  EXPECT_FALSE(QUOR::SendFileToOutput(file.get(), 0, 1));
  EXPECT_TRUE(QUOR::OutputStillWanted());
}

TEST_F(CgiOutputTest, SendFileIsChunkFramedWithoutALength) {
  char path[] = "/tmp/sonvik-cgi-output-XXXXXX";
  Sonvik::util::UniqueFd file(mkstemp(path));
  unlink(path);
  ASSERT_EQ(write(file.get(), "abcdef", 6), 6);
  Run([&] {
    std::printf("Content-Type: text/plain\r\n\r\n");
    QUOR::SendFileToOutput(file.get(), 0, 6);
    std::printf("!");
  });
  std::string received = Received();
  EXPECT_EQ(received.substr(received.find("\r\n\r\n") + 4), "6\r\nabcdef\r\n1\r\n!\r\n0\r\n\r\n");
}

TEST_F(CgiOutputTest, PeerGoneIsSeenByOutputStillWanted) {
  bool wanted_before = false, wanted_after = true;
  Run([&] {
    wanted_before = QUOR::OutputStillWanted();
    client_.Reset();
    wanted_after = QUOR::OutputStillWanted();
  });
  EXPECT_TRUE(wanted_before);
  EXPECT_FALSE(wanted_after);
}

TEST_F(CgiOutputTest, StdoutIsTheProcessOwnAgainAfterTheRequest) {
  FILE* before = stdout;
  Run([&] { EXPECT_NE(stdout, before); });
  EXPECT_EQ(stdout, before);
}

}  // namespace
}  // namespace QUOR::server
