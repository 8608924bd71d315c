#pragma once
// Writes one response to a client socket from a worker: either a whole answer of the host's own
// (the JSON envelope, a plain error) or a handler's CGI output, turned into HTTP as it arrives.
// The socket stays non-blocking (the master shares it); writes wait for it with poll.
#include <sys/types.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/server/cgi_header_parser.h"
#include "host/server/http_request.h"
#include "host/server/response_head.h"

namespace QUOR::server {

using HeaderFields = std::vector<std::pair<std::string, std::string>>;

class ResponseWriter {
 public:
  ResponseWriter(int fd, const HttpRequest& request);
  ResponseWriter(const ResponseWriter&) = delete;
  ResponseWriter& operator=(const ResponseWriter&) = delete;

  // A complete answer with a known body; nothing may have been written before.
  void SendWhole(int status, std::string_view content_type, std::string_view body,
                 const HeaderFields& extra_fields = {});

  // A handler's raw output, in the pieces stdio flushes: the header block first, then the body.
  void WriteCgi(const char* data, size_t size);
  // Body bytes from a file, once the header block is out. False when that is not possible now
  // (the caller then writes the bytes itself); true when they went out or were not wanted.
  bool SendFile(int fd, off_t offset, size_t count);
  // The handler is done: ends the framing. An unfinished header block is answered 500.
  void FinishCgi();

  // The output cannot be completed properly (a handler failed mid-body): write nothing more and
  // close the connection afterwards.
  void Abort() {
    failed_ = true;
    keep_alive_ = false;
  }

  bool cgi_started() const { return cgi_started_; }
  bool anything_sent() const { return head_sent_; }
  // False once a write failed or the peer hung up.
  bool PeerPresent();

  int status() const { return status_; }
  uint64_t body_bytes() const { return body_bytes_; }
  // Whether the connection may carry another request after this response.
  bool keep_alive() const { return keep_alive_ && !failed_; }

 private:
  void StartBody(const CgiHeaders& headers);
  void SendBody(const char* data, size_t size);
  bool WriteAll(std::string_view first, std::string_view second = {}, std::string_view third = {});
  bool WaitWritable();

  int fd_;
  const HttpRequest& request_;
  bool head_request_;
  CgiHeaderParser cgi_parser_;
  bool cgi_started_ = false;
  bool cgi_refused_ = false;
  bool head_sent_ = false;
  bool failed_ = false;
  bool keep_alive_;
  Framing framing_;
  uint64_t remaining_ = 0;  // body bytes still due under Content-Length
  int status_ = 0;
  uint64_t body_bytes_ = 0;
};

}  // namespace QUOR::server
