#include "host/server/listen_address.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <charconv>
#include <cstring>
#include <stdexcept>

namespace QUOR::server {

std::string ListenAddress::ToString() const {
  return (ipv6 ? "[" + host + "]" : host) + ":" + std::to_string(port);
}

bool ParseListenAddress(const std::string& text, ListenAddress* address, std::string* error) {
  size_t colon = text.rfind(':');
  if (colon == std::string::npos || colon == 0 || colon + 1 == text.size()) {
    *error = "expected ADDR:PORT, e.g. 127.0.0.1:5080, got '" + text + "'";
    return false;
  }
  std::string host = text.substr(0, colon);
  std::string port_text = text.substr(colon + 1);
  bool ipv6 = false;
  if (host.front() == '[') {
    if (host.back() != ']') {
      *error = "unbalanced brackets in '" + text + "'";
      return false;
    }
    host = host.substr(1, host.size() - 2);
    ipv6 = true;
  }
  unsigned port = 0;
  auto [end, ec] = std::from_chars(port_text.data(), port_text.data() + port_text.size(), port);
  if (ec != std::errc() || end != port_text.data() + port_text.size() || port == 0 ||
      port > 65535) {
    *error = "port must be a number from 1 to 65535, got '" + port_text + "'";
    return false;
  }
  unsigned char probe[sizeof(in6_addr)];
  if (inet_pton(ipv6 ? AF_INET6 : AF_INET, host.c_str(), probe) != 1) {
    *error = "'" + host + "' is not a numeric " + (ipv6 ? "IPv6" : "IPv4") + " address";
    return false;
  }
  address->host = host;
  address->port = static_cast<uint16_t>(port);
  address->ipv6 = ipv6;
  return true;
}

Sonvik::util::UniqueFd OpenListener(const ListenAddress& address) {
  int family = address.ipv6 ? AF_INET6 : AF_INET;
  Sonvik::util::UniqueFd fd(socket(family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (!fd.valid()) throw std::runtime_error(std::string("socket: ") + std::strerror(errno));
  int one = 1;
  setsockopt(fd.get(), SOL_SOCKET, SO_REUSEADDR, &one, sizeof(one));
  sockaddr_storage storage{};
  socklen_t length = 0;
  if (address.ipv6) {
    auto& in6 = reinterpret_cast<sockaddr_in6&>(storage);
    in6.sin6_family = AF_INET6;
    in6.sin6_port = htons(address.port);
    inet_pton(AF_INET6, address.host.c_str(), &in6.sin6_addr);
    length = sizeof(in6);
  } else {
    auto& in4 = reinterpret_cast<sockaddr_in&>(storage);
    in4.sin_family = AF_INET;
    in4.sin_port = htons(address.port);
    inet_pton(AF_INET, address.host.c_str(), &in4.sin_addr);
    length = sizeof(in4);
  }
  if (bind(fd.get(), reinterpret_cast<sockaddr*>(&storage), length) != 0) {
    int error = errno;
    if (error == EADDRINUSE) {
      throw std::runtime_error(address.ToString() +
                               " is already in use (is another server running?); pick another "
                               "address with --listen ADDR:PORT");
    }
    if (error == EACCES) {
      throw std::runtime_error("no permission to listen on " + address.ToString() +
                               " (ports below 1024 need root)");
    }
    if (error == EADDRNOTAVAIL) {
      throw std::runtime_error(address.host + " is not an address of this machine");
    }
    throw std::runtime_error("cannot listen on " + address.ToString() + ": " +
                             std::strerror(error));
  }
  if (listen(fd.get(), 1024) != 0) {
    throw std::runtime_error("listen on " + address.ToString() + ": " + std::strerror(errno));
  }
  return fd;
}

}  // namespace QUOR::server
