#include "bench_http.h"

#include <curl/curl.h>

#include <algorithm>
#include <cstdlib>

#include "bench/common/child_process.h"

namespace Sonvik::bench {
namespace {

struct Sink {
  Fetch* fetch;
  double started;
  bool keep;
  bool stop_early;
};

size_t Collect(char* data, size_t size, size_t count, void* user) {
  auto* sink = static_cast<Sink*>(user);
  size_t bytes = size * count;
  if (sink->fetch->bytes == 0 && bytes > 0) sink->fetch->first_byte_seconds = Now() - sink->started;
  sink->fetch->bytes += bytes;
  if (sink->keep) sink->fetch->body.append(data, bytes);
  return sink->stop_early ? 0 : bytes;
}

}  // namespace

Connection::Connection() : curl_(curl_easy_init()) {
  if (curl_ == nullptr) std::abort();
}

Connection::~Connection() { curl_easy_cleanup(curl_); }

Fetch Connection::Get(const std::string& url, const std::vector<std::string>& headers,
                      bool keep_body, bool stop_after_first_byte) {
  Fetch fetch;
  Sink sink{&fetch, Now(), keep_body, stop_after_first_byte};
  curl_slist* list = nullptr;
  for (const std::string& header : headers) list = curl_slist_append(list, header.c_str());
  curl_easy_reset(curl_);
  curl_easy_setopt(curl_, CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl_, CURLOPT_HTTPHEADER, list);
  curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, Collect);
  curl_easy_setopt(curl_, CURLOPT_WRITEDATA, &sink);
  curl_easy_perform(curl_);
  fetch.seconds = Now() - sink.started;
  curl_easy_getinfo(curl_, CURLINFO_RESPONSE_CODE, &fetch.status);
  curl_slist_free_all(list);
  return fetch;
}

Fetch Connection::Post(const std::string& url, const std::string& form) {
  Fetch fetch;
  Sink sink{&fetch, Now(), true, false};
  curl_easy_reset(curl_);
  curl_easy_setopt(curl_, CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl_, CURLOPT_POSTFIELDS, form.c_str());
  curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, Collect);
  curl_easy_setopt(curl_, CURLOPT_WRITEDATA, &sink);
  curl_easy_perform(curl_);
  fetch.seconds = Now() - sink.started;
  curl_easy_getinfo(curl_, CURLINFO_RESPONSE_CODE, &fetch.status);
  return fetch;
}

double Quantile(std::vector<double> values, double q) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  size_t index = static_cast<size_t>(q * static_cast<double>(values.size() - 1) + 0.5);
  return values[std::min(index, values.size() - 1)];
}

}  // namespace Sonvik::bench
