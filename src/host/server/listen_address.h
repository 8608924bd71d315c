#pragma once
// The address the server listens on: "127.0.0.1:5080", "[::1]:5080", "0.0.0.0:80".
#include <cstdint>
#include <string>

#include "package/util/unique_fd.h"

namespace QUOR::server {

struct ListenAddress {
  std::string host;  // numeric IPv4 or IPv6 address, without brackets
  uint16_t port = 0;
  bool ipv6 = false;

  std::string ToString() const;
};

// False with a message in `*error` when the text is not ADDR:PORT with a numeric address and a
// port from 1 to 65535.
bool ParseListenAddress(const std::string& text, ListenAddress* address, std::string* error);

// A non-blocking listening socket; throws std::runtime_error with a message for the user
// (address in use, permission denied, ...).
Sonvik::util::UniqueFd OpenListener(const ListenAddress& address);

}  // namespace QUOR::server
