#pragma once
// One complete HTTP request as the master hands it to a worker.
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace QUOR::server {

struct HttpRequest {
  std::string method;  // "GET", "POST", "HEAD", ...
  std::string target;  // the request target as sent: "/webapi/entry?api=..."
  int http_major = 1;
  int http_minor = 1;
  // Field names in lower case, values trimmed, in the order received.
  std::vector<std::pair<std::string, std::string>> headers;
  std::string body;
  bool keep_alive = true;      // what the request allows
  std::string client_address;  // "127.0.0.1"

  // The value of the first field named `lower_name`, or null.
  const std::string* Header(std::string_view lower_name) const;
  bool http11() const { return http_major > 1 || (http_major == 1 && http_minor >= 1); }
  std::string_view Path() const;
  std::string_view QueryString() const;
};

// The worker channel's byte form of a request. Decode answers false on anything malformed.
std::string EncodeRequest(const HttpRequest& request);
bool DecodeRequest(std::string_view bytes, HttpRequest* request);

}  // namespace QUOR::server
