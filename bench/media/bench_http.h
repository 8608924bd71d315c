#pragma once
// libcurl requests for the benchmark: one keep-alive connection per Connection, bodies counted
// and dropped (or kept when asked), with the time of the first body byte.
#include <string>
#include <vector>

typedef void CURL;

namespace Sonvik::bench {

struct Fetch {
  long status = 0;
  size_t bytes = 0;
  double seconds = 0;             // request start to the last byte
  double first_byte_seconds = 0;  // request start to the first body byte
  std::string body;               // only when kept
};

class Connection {
 public:
  Connection();
  ~Connection();
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;

  // GET `url` with extra header lines. `keep_body` stores the body; `stop_after_first_byte`
  // aborts the transfer at the first body byte (the connection is then closed and reopened).
  Fetch Get(const std::string& url, const std::vector<std::string>& headers = {},
            bool keep_body = false, bool stop_after_first_byte = false);
  Fetch Post(const std::string& url, const std::string& form);

 private:
  CURL* curl_;
};

// Sorted copy's value at fraction `q` (0.5 median, 0.99 ...).
double Quantile(std::vector<double> values, double q);

}  // namespace Sonvik::bench
