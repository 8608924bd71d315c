#include "host/server/response_writer.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/sendfile.h>
#include <sys/socket.h>
#include <syslog.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <ctime>

namespace QUOR::server {
namespace {

// A client that takes nothing for this long is treated as gone.
constexpr int kWriteStallMs = 60 * 1000;

// Holds partial segments back while a file goes out: sendfile hands the socket pieces of odd
// sizes as buffer space frees up, and with TCP_NODELAY each would leave as a short segment
// (about a fifth less throughput on one connection). Released at the end, so nothing waits.
class ScopedCork {
 public:
  explicit ScopedCork(int fd) : fd_(fd) { Set(1); }
  ~ScopedCork() { Set(0); }
  ScopedCork(const ScopedCork&) = delete;
  ScopedCork& operator=(const ScopedCork&) = delete;

 private:
  void Set(int on) { (void)setsockopt(fd_, IPPROTO_TCP, TCP_CORK, &on, sizeof(on)); }
  int fd_;
};

}  // namespace

ResponseWriter::ResponseWriter(int fd, const HttpRequest& request)
    : fd_(fd),
      request_(request),
      head_request_(request.method == "HEAD"),
      keep_alive_(request.keep_alive) {}

bool ResponseWriter::WaitWritable() {
  pollfd entry{fd_, POLLOUT, 0};
  for (;;) {
    int ready = poll(&entry, 1, kWriteStallMs);
    if (ready > 0) return (entry.revents & (POLLERR | POLLHUP | POLLNVAL)) == 0;
    if (ready == 0 || errno != EINTR) return false;
  }
}

bool ResponseWriter::WriteAll(std::string_view first, std::string_view second,
                              std::string_view third) {
  if (failed_) return false;
  iovec parts[3] = {{const_cast<char*>(first.data()), first.size()},
                    {const_cast<char*>(second.data()), second.size()},
                    {const_cast<char*>(third.data()), third.size()}};
  iovec* next = parts;
  int count = 3;
  while (count > 0) {
    if (next->iov_len == 0) {
      ++next;
      --count;
      continue;
    }
    msghdr message{};
    message.msg_iov = next;
    message.msg_iovlen = static_cast<size_t>(count);
    ssize_t sent = sendmsg(fd_, &message, MSG_NOSIGNAL);
    if (sent < 0) {
      if (errno == EINTR) continue;
      if (errno == EAGAIN && WaitWritable()) continue;
      failed_ = true;
      return false;
    }
    size_t left = static_cast<size_t>(sent);
    while (count > 0 && left >= next->iov_len) {
      left -= next->iov_len;
      ++next;
      --count;
    }
    if (count > 0) {
      next->iov_base = static_cast<char*>(next->iov_base) + left;
      next->iov_len -= left;
    }
  }
  return true;
}

bool ResponseWriter::PeerPresent() {
  if (failed_) return false;
  pollfd entry{fd_, POLLRDHUP, 0};
  if (poll(&entry, 1, 0) > 0 && (entry.revents & (POLLRDHUP | POLLHUP | POLLERR)) != 0) {
    return false;
  }
  return true;
}

void ResponseWriter::SendWhole(int status, std::string_view content_type, std::string_view body,
                               const HeaderFields& extra_fields) {
  CgiHeaders headers;
  headers.status = status;
  headers.reason = ReasonPhrase(status);
  headers.fields.emplace_back("Content-Type", std::string(content_type));
  for (const auto& field : extra_fields) headers.fields.push_back(field);
  headers.content_length = body.size();
  framing_ = ChooseFraming(status, head_request_, true, request_.http11(), keep_alive_);
  keep_alive_ = framing_.keep_alive;
  std::string head = BuildResponseHead(headers, framing_, time(nullptr));
  status_ = status;
  head_sent_ = true;
  if (head_request_) {
    WriteAll(head);
    return;
  }
  if (WriteAll(head, body)) body_bytes_ = body.size();
}

void ResponseWriter::WriteCgi(const char* data, size_t size) {
  if (size == 0 || cgi_refused_) return;
  cgi_started_ = true;
  std::string_view bytes(data, size);
  if (cgi_parser_.state() == CgiHeaderParser::State::kHeaders) {
    size_t taken = cgi_parser_.Feed(bytes);
    bytes.remove_prefix(taken);
    if (cgi_parser_.state() == CgiHeaderParser::State::kError) {
      syslog(LOG_ERR, "%s:%d handler output refused: %s", "response_writer", __LINE__,
             cgi_parser_.error().c_str());
      cgi_refused_ = true;
      keep_alive_ = false;
      SendWhole(500, "text/plain; charset=utf-8", "Internal Server Error\n");
      return;
    }
    if (cgi_parser_.state() != CgiHeaderParser::State::kBody) return;
    StartBody(cgi_parser_.headers());
  }
  SendBody(bytes.data(), bytes.size());
}

void ResponseWriter::StartBody(const CgiHeaders& headers) {
  framing_ = ChooseFraming(headers.status, head_request_, headers.content_length.has_value(),
                           request_.http11(), keep_alive_);
  keep_alive_ = framing_.keep_alive;
  remaining_ = headers.content_length.value_or(0);
  status_ = headers.status;
  head_sent_ = true;
  WriteAll(BuildResponseHead(headers, framing_, time(nullptr)));
}

void ResponseWriter::SendBody(const char* data, size_t size) {
  if (size == 0 || head_request_ || failed_) return;
  std::string_view bytes(data, size);
  switch (framing_.body) {
    case BodyFraming::kNone:
      return;
    case BodyFraming::kContentLength:
      if (bytes.size() > remaining_) {
        // More than announced: the client would read it as the next response.
        syslog(LOG_ERR, "%s:%d handler wrote past its Content-Length; excess dropped",
               "response_writer", __LINE__);
        bytes = bytes.substr(0, remaining_);
        keep_alive_ = false;
      }
      if (!bytes.empty() && WriteAll(bytes)) {
        remaining_ -= bytes.size();
        body_bytes_ += bytes.size();
      }
      return;
    case BodyFraming::kChunked: {
      char size_line[24];
      int length = std::snprintf(size_line, sizeof(size_line), "%zx\r\n", bytes.size());
      if (WriteAll(std::string_view(size_line, static_cast<size_t>(length)), bytes, "\r\n")) {
        body_bytes_ += bytes.size();
      }
      return;
    }
    case BodyFraming::kUntilClose:
      if (WriteAll(bytes)) body_bytes_ += bytes.size();
      return;
  }
}

bool ResponseWriter::SendFile(int fd, off_t offset, size_t count) {
  if (cgi_refused_ || cgi_parser_.state() != CgiHeaderParser::State::kBody) return false;
  if (head_request_ || framing_.body == BodyFraming::kNone || count == 0) return true;
  if (failed_) return false;
  if (framing_.body == BodyFraming::kContentLength && count > remaining_) {
    syslog(LOG_ERR, "%s:%d handler sent a file past its Content-Length; excess dropped",
           "response_writer", __LINE__);
    count = static_cast<size_t>(remaining_);
    keep_alive_ = false;
  }
  if (framing_.body == BodyFraming::kChunked) {
    char size_line[24];
    int length = std::snprintf(size_line, sizeof(size_line), "%zx\r\n", count);
    if (!WriteAll(std::string_view(size_line, static_cast<size_t>(length)))) return false;
  }
  size_t left = count;
  ScopedCork cork(fd_);
  while (left > 0) {
    ssize_t sent = sendfile(fd_, fd, &offset, left);
    if (sent > 0) {
      left -= static_cast<size_t>(sent);
      continue;
    }
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0 && errno == EAGAIN && WaitWritable()) continue;
    // The file ended early or the peer went: the framing cannot be kept any more.
    failed_ = true;
    break;
  }
  size_t done = count - left;
  body_bytes_ += done;
  if (framing_.body == BodyFraming::kContentLength) remaining_ -= done;
  if (failed_) return false;
  if (framing_.body == BodyFraming::kChunked) return WriteAll("\r\n");
  return true;
}

void ResponseWriter::FinishCgi() {
  if (!cgi_started_ || cgi_refused_) return;
  if (cgi_parser_.state() == CgiHeaderParser::State::kHeaders) {
    syslog(LOG_ERR, "%s:%d handler ended inside its header block", "response_writer", __LINE__);
    cgi_refused_ = true;
    keep_alive_ = false;
    SendWhole(500, "text/plain; charset=utf-8", "Internal Server Error\n");
    return;
  }
  if (head_request_) return;
  if (framing_.body == BodyFraming::kChunked) {
    WriteAll("0\r\n\r\n");
  } else if (framing_.body == BodyFraming::kContentLength && remaining_ > 0) {
    // Fewer bytes than announced: only closing tells the client the body is short.
    syslog(LOG_ERR, "%s:%d handler wrote %llu bytes less than its Content-Length",
           "response_writer", __LINE__, static_cast<unsigned long long>(remaining_));
    keep_alive_ = false;
  }
}

}  // namespace QUOR::server
