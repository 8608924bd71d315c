#pragma once
// Between master and workers, SOCK_SEQPACKET socketpairs carrying one message each:
//
//   the request queue, shared by all workers: RequestMessage bytes with the connection's socket
//     attached (SCM_RIGHTS); whichever idle worker receives first serves it. A message without a
//     socket asks the worker that takes it to retire.
//   each worker's own channel: its ReplyMessage bytes to the master, nothing attached.
//
// The master keeps its own descriptor of every connection, so a connection outlives a worker
// that dies and the worker's reply only says what to do with it next.
#include <atomic>
#include <cstdint>
#include <string>
#include <string_view>

#include "host/server/http_request.h"
#include "package/util/unique_fd.h"

namespace QUOR::server {

// What a forked worker gets from the master.
struct WorkerLink {
  Sonvik::util::UniqueFd channel;            // its own, to the master
  Sonvik::util::UniqueFd queue;              // the shared request queue
  std::atomic<uint64_t>* serving = nullptr;  // its slot: the connection it serves, 0 when none
};

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
  uint64_t connection_id = 0;  // 0: the worker took a retire message and is leaving
  bool keep_alive = false;
};

// What the queue carries for "one of you, retire".
std::string EncodeRetireMessage();

std::string EncodeRequestMessage(uint64_t connection_id, const HttpRequest& request);
bool DecodeRequestMessage(std::string_view bytes, uint64_t* connection_id, HttpRequest* request);
std::string EncodeReply(const ReplyMessage& reply);
bool DecodeReply(std::string_view bytes, ReplyMessage* reply);

}  // namespace QUOR::server
