#pragma once
// The master-worker channel: a SOCK_SEQPACKET socketpair, one message per request or reply.
//
//   master -> worker: RequestMessage bytes, with the connection's socket attached (SCM_RIGHTS)
//   worker -> master: ReplyMessage bytes, nothing attached
//
// The master keeps its own descriptor of every connection, so a connection outlives a worker
// that dies and the worker's reply only says what to do with it next.
#include <cstdint>
#include <string>
#include <string_view>

#include "host/server/http_request.h"
#include "package/util/unique_fd.h"

namespace QUOR::server {

// Large enough for a full head and body with the encoding's overhead.
inline constexpr size_t kMaxChannelMessage = 128 * 1024;

// Makes the pair; [0] stays with the master, [1] goes to the worker. Throws on failure.
void MakeChannelPair(Sonvik::util::UniqueFd* master_end, Sonvik::util::UniqueFd* worker_end);

// Sends one message, with `fd` attached unless it is -1. False on failure (errno set).
bool SendChannelMessage(int channel, std::string_view bytes, int fd, bool dont_wait);

enum class ReceiveResult { kMessage, kClosed, kInterrupted, kError };
// Waits for one message; an attached descriptor lands in `*fd`.
ReceiveResult ReceiveChannelMessage(int channel, std::string* bytes, Sonvik::util::UniqueFd* fd,
                                    bool dont_wait);

struct ReplyMessage {
  uint64_t connection_id = 0;
  bool keep_alive = false;
};

std::string EncodeRequestMessage(uint64_t connection_id, const HttpRequest& request);
bool DecodeRequestMessage(std::string_view bytes, uint64_t* connection_id, HttpRequest* request);
std::string EncodeReply(const ReplyMessage& reply);
bool DecodeReply(std::string_view bytes, ReplyMessage* reply);

}  // namespace QUOR::server
