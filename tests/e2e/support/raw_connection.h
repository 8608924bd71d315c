#pragma once
// A plain TCP connection to the server for what a well-behaved client never sends: malformed or
// oversized heads, trickled bytes, pipelined requests.
#include <chrono>
#include <cstdint>
#include <string>

namespace Sonvik::e2e {

class RawConnection {
 public:
  // Connects to 127.0.0.1:`port`; connected() tells whether it worked.
  explicit RawConnection(uint16_t port);
  ~RawConnection();
  RawConnection(const RawConnection&) = delete;
  RawConnection& operator=(const RawConnection&) = delete;

  bool connected() const { return fd_ >= 0; }
  // False when the bytes could not all be written (the server closed, say).
  bool Send(const std::string& bytes);
  // Reads until the server closes the connection (or the bound passes; a guard against hangs).
  std::string ReadUntilClosed(std::chrono::milliseconds bound = std::chrono::seconds(30));
  // Reads until `count` complete HTTP responses with Content-Length bodies have arrived.
  std::string ReadResponses(int count, std::chrono::milliseconds bound = std::chrono::seconds(30));
  // True when the server has closed its side (reads see end of file or a reset) now.
  bool ClosedByPeer();
  void Close();

 private:
  int fd_ = -1;
  std::string pending_;
};

}  // namespace Sonvik::e2e
