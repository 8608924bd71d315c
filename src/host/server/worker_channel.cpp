#include "host/server/worker_channel.h"

#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

namespace QUOR::server {

void MakeChannelPair(Sonvik::util::UniqueFd* master_end, Sonvik::util::UniqueFd* worker_end) {
  int fds[2];
  if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, fds) != 0) {
    throw std::system_error(errno, std::generic_category(), "socketpair");
  }
  master_end->Reset(fds[0]);
  worker_end->Reset(fds[1]);
  int size = static_cast<int>(2 * kMaxChannelMessage);
  setsockopt(fds[0], SOL_SOCKET, SO_SNDBUF, &size, sizeof(size));
  setsockopt(fds[1], SOL_SOCKET, SO_RCVBUF, &size, sizeof(size));
}

bool SendChannelMessage(int channel, std::string_view bytes, int fd, bool dont_wait) {
  iovec iov{const_cast<char*>(bytes.data()), bytes.size()};
  msghdr message{};
  message.msg_iov = &iov;
  message.msg_iovlen = 1;
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
  if (fd >= 0) {
    message.msg_control = control;
    message.msg_controllen = sizeof(control);
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(header), &fd, sizeof(int));
  }
  int flags = MSG_NOSIGNAL | (dont_wait ? MSG_DONTWAIT : 0);
  for (;;) {
    ssize_t sent = sendmsg(channel, &message, flags);
    if (sent >= 0) return static_cast<size_t>(sent) == bytes.size();
    if (errno != EINTR) return false;
  }
}

ReceiveResult ReceiveChannelMessage(int channel, std::string* bytes, Sonvik::util::UniqueFd* fd,
                                    bool dont_wait) {
  // One buffer for the process's whole life: zero-filling 128 KiB per message would cost more
  // than the message. Master and worker are single-threaded.
  static char* const buffer = new char[kMaxChannelMessage];
  iovec iov{buffer, kMaxChannelMessage};
  msghdr message{};
  message.msg_iov = &iov;
  message.msg_iovlen = 1;
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
  message.msg_control = control;
  message.msg_controllen = sizeof(control);
  ssize_t received = recvmsg(channel, &message, MSG_CMSG_CLOEXEC | (dont_wait ? MSG_DONTWAIT : 0));
  bytes->clear();
  if (received < 0) {
    return errno == EINTR || errno == EAGAIN ? ReceiveResult::kInterrupted : ReceiveResult::kError;
  }
  for (cmsghdr* header = CMSG_FIRSTHDR(&message); header != nullptr;
       header = CMSG_NXTHDR(&message, header)) {
    if (header->cmsg_level == SOL_SOCKET && header->cmsg_type == SCM_RIGHTS) {
      int passed = -1;
      std::memcpy(&passed, CMSG_DATA(header), sizeof(int));
      fd->Reset(passed);
    }
  }
  if (received == 0) return ReceiveResult::kClosed;
  bytes->assign(buffer, static_cast<size_t>(received));
  if ((message.msg_flags & (MSG_TRUNC | MSG_CTRUNC)) != 0) return ReceiveResult::kError;
  return ReceiveResult::kMessage;
}

std::string EncodeRequestMessage(uint64_t connection_id, const HttpRequest& request) {
  std::string out(reinterpret_cast<const char*>(&connection_id), sizeof(connection_id));
  out += EncodeRequest(request);
  return out;
}

bool DecodeRequestMessage(std::string_view bytes, uint64_t* connection_id, HttpRequest* request) {
  if (bytes.size() < sizeof(*connection_id)) return false;
  std::memcpy(connection_id, bytes.data(), sizeof(*connection_id));
  return DecodeRequest(bytes.substr(sizeof(*connection_id)), request);
}

std::string EncodeRetireMessage() { return std::string(sizeof(uint64_t), '\0'); }

std::string EncodeReply(const ReplyMessage& reply) {
  std::string out(reinterpret_cast<const char*>(&reply.connection_id), sizeof(reply.connection_id));
  out.push_back(reply.keep_alive ? 1 : 0);
  return out;
}

bool DecodeReply(std::string_view bytes, ReplyMessage* reply) {
  if (bytes.size() != sizeof(reply->connection_id) + 1) return false;
  std::memcpy(&reply->connection_id, bytes.data(), sizeof(reply->connection_id));
  reply->keep_alive = bytes.back() != 0;
  return true;
}

}  // namespace QUOR::server
