#include "e2e/support/raw_connection.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace Sonvik::e2e {

RawConnection::RawConnection(uint16_t port) {
  fd_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (fd_ >= 0 && connect(fd_, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    Close();
  }
}

RawConnection::~RawConnection() { Close(); }

void RawConnection::Close() {
  if (fd_ >= 0) close(fd_);
  fd_ = -1;
}

bool RawConnection::Send(const std::string& bytes) {
  size_t sent = 0;
  while (fd_ >= 0 && sent < bytes.size()) {
    ssize_t put = send(fd_, bytes.data() + sent, bytes.size() - sent, MSG_NOSIGNAL);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    sent += static_cast<size_t>(put);
  }
  return fd_ >= 0;
}

std::string RawConnection::ReadUntilClosed(std::chrono::milliseconds bound) {
  std::string received = std::move(pending_);
  pending_.clear();
  auto until = std::chrono::steady_clock::now() + bound;
  char buffer[8192];
  while (fd_ >= 0) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        until - std::chrono::steady_clock::now());
    if (left.count() <= 0) break;
    pollfd entry{fd_, POLLIN, 0};
    if (poll(&entry, 1, static_cast<int>(left.count())) <= 0) continue;
    ssize_t got = recv(fd_, buffer, sizeof(buffer), 0);
    if (got <= 0) break;
    received.append(buffer, static_cast<size_t>(got));
  }
  return received;
}

std::string RawConnection::ReadResponses(int count, std::chrono::milliseconds bound) {
  auto until = std::chrono::steady_clock::now() + bound;
  std::string received = std::move(pending_);
  pending_.clear();
  char buffer[8192];
  auto complete = [&](size_t* end) {
    size_t at = 0;
    for (int i = 0; i < count; ++i) {
      size_t head_end = received.find("\r\n\r\n", at);
      if (head_end == std::string::npos) return false;
      std::string head = received.substr(at, head_end - at);
      size_t length = 0;
      size_t field = head.find("Content-Length: ");
      if (field != std::string::npos) length = std::strtoul(head.c_str() + field + 16, nullptr, 10);
      at = head_end + 4 + length;
      if (received.size() < at) return false;
    }
    *end = at;
    return true;
  };
  size_t end = 0;
  while (fd_ >= 0 && !complete(&end)) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(
        until - std::chrono::steady_clock::now());
    if (left.count() <= 0) return received;
    pollfd entry{fd_, POLLIN, 0};
    if (poll(&entry, 1, static_cast<int>(left.count())) <= 0) continue;
    ssize_t got = recv(fd_, buffer, sizeof(buffer), 0);
    if (got <= 0) return received;
    received.append(buffer, static_cast<size_t>(got));
  }
  pending_ = received.substr(end);
  return received.substr(0, end);
}

bool RawConnection::ClosedByPeer() {
  if (fd_ < 0) return true;
  char byte;
  ssize_t got = recv(fd_, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
  return got == 0 || (got < 0 && errno != EAGAIN && errno != EINTR);
}

}  // namespace Sonvik::e2e
