#include "e2e/support/http_client.h"

#include <curl/curl.h>
#include <json/reader.h>
#include <strings.h>

#include <memory>

namespace Sonvik::e2e {
namespace {

size_t CollectBody(char* data, size_t size, size_t count, void* target) {
  static_cast<HttpResponse*>(target)->body.append(data, size * count);
  return size * count;
}

size_t CollectHeader(char* data, size_t size, size_t count, void* target) {
  auto* response = static_cast<HttpResponse*>(target);
  std::string line(data, size * count);
  while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
  if (line.rfind("HTTP/", 0) == 0) {
    // A new status line (after "100 Continue", say) starts the header list afresh.
    response->status_line = line;
    response->headers.clear();
  } else if (!line.empty()) {
    size_t colon = line.find(':');
    if (colon != std::string::npos) {
      size_t value = line.find_first_not_of(' ', colon + 1);
      response->headers.emplace_back(line.substr(0, colon),
                                     value == std::string::npos ? "" : line.substr(value));
    }
  }
  return size * count;
}

struct CurlGlobal {
  CurlGlobal() { curl_global_init(CURL_GLOBAL_DEFAULT); }
};

}  // namespace

std::string HttpResponse::Header(const std::string& name) const {
  for (const auto& [field, value] : headers) {
    if (strcasecmp(field.c_str(), name.c_str()) == 0) return value;
  }
  return {};
}

bool HttpResponse::HasHeader(const std::string& name) const {
  for (const auto& [field, value] : headers) {
    if (strcasecmp(field.c_str(), name.c_str()) == 0) return true;
  }
  return false;
}

Json::Value HttpResponse::Json() const {
  Json::CharReaderBuilder builder;
  std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
  Json::Value value;
  std::string errors;
  if (!reader->parse(body.data(), body.data() + body.size(), &value, &errors)) return {};
  return value;
}

bool HttpResponse::Success() const { return Json()["success"].asBool(); }

int HttpResponse::ErrorCode() const {
  Json::Value json = Json();
  return json["success"].asBool() ? 0 : json["error"]["code"].asInt();
}

HttpClient::HttpClient(std::string base_url) : base_url_(std::move(base_url)) {
  static CurlGlobal global;
  curl_ = curl_easy_init();
}

HttpClient::~HttpClient() { curl_easy_cleanup(curl_); }

std::string HttpClient::FormEncode(const std::string& text) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  std::string out;
  for (unsigned char c : text) {
    if (std::isalnum(c) || c == '-' || c == '_' || c == '.' || c == '~') {
      out.push_back(static_cast<char>(c));
    } else {
      out.push_back('%');
      out.push_back(kHex[c >> 4]);
      out.push_back(kHex[c & 15]);
    }
  }
  return out;
}

std::string HttpClient::EntryQuery(const std::string& api, const std::string& method,
                                   const Params& params, int version) {
  std::string query = "api=" + FormEncode(api) + "&version=" + std::to_string(version) +
                      "&method=" + FormEncode(method);
  for (const auto& [name, value] : params)
    query += "&" + FormEncode(name) + "=" + FormEncode(value);
  return query;
}

HttpResponse HttpClient::Perform(const std::string& method, const std::string& url,
                                 const Headers& headers, const std::string* body) {
  HttpResponse response;
  curl_easy_reset(curl_);
  curl_easy_setopt(curl_, CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, &CollectBody);
  curl_easy_setopt(curl_, CURLOPT_WRITEDATA, &response);
  curl_easy_setopt(curl_, CURLOPT_HEADERFUNCTION, &CollectHeader);
  curl_easy_setopt(curl_, CURLOPT_HEADERDATA, &response);
  curl_easy_setopt(curl_, CURLOPT_NOSIGNAL, 1L);
  curl_easy_setopt(curl_, CURLOPT_NOPROXY, "*");
  // A bound against a hung server, far above any answer's time; tests assert no timing.
  curl_easy_setopt(curl_, CURLOPT_TIMEOUT, 120L);
  if (method == "HEAD") {
    curl_easy_setopt(curl_, CURLOPT_NOBODY, 1L);
  } else if (method == "POST") {
    curl_easy_setopt(curl_, CURLOPT_POST, 1L);
    curl_easy_setopt(curl_, CURLOPT_POSTFIELDS, body->data());
    curl_easy_setopt(curl_, CURLOPT_POSTFIELDSIZE, static_cast<long>(body->size()));
  }
  curl_slist* list = nullptr;
  for (const std::string& header : headers) list = curl_slist_append(list, header.c_str());
  // No "Expect: 100-continue" delays unless a test asks for it.
  if (method == "POST") list = curl_slist_append(list, "Expect:");
  curl_easy_setopt(curl_, CURLOPT_HTTPHEADER, list);
  CURLcode code = curl_easy_perform(curl_);
  curl_slist_free_all(list);
  if (code != CURLE_OK) {
    response.error = curl_easy_strerror(code);
    // A cut connection can still have delivered a status; keep what came.
    if (response.status_line.empty()) return response;
  }
  curl_easy_getinfo(curl_, CURLINFO_RESPONSE_CODE, &response.status);
  return response;
}

HttpResponse HttpClient::Get(const std::string& path_and_query, const Headers& headers) {
  return Perform("GET", base_url_ + path_and_query, headers, nullptr);
}

HttpResponse HttpClient::Head(const std::string& path_and_query, const Headers& headers) {
  return Perform("HEAD", base_url_ + path_and_query, headers, nullptr);
}

HttpResponse HttpClient::Post(const std::string& path, const std::string& body,
                              const std::string& content_type, const Headers& headers) {
  Headers all = headers;
  all.push_back("Content-Type: " + content_type);
  return Perform("POST", base_url_ + path, all, &body);
}

HttpResponse HttpClient::Call(const std::string& api, const std::string& method,
                              const Params& params, int version, const Headers& headers) {
  Params all = params;
  all.insert(all.end(), default_params_.begin(), default_params_.end());
  return Get("/webapi/entry?" + EntryQuery(api, method, all, version), headers);
}

HttpResponse HttpClient::CallPost(const std::string& api, const std::string& method,
                                  const Params& params, int version, const Headers& headers) {
  Params all = params;
  all.insert(all.end(), default_params_.begin(), default_params_.end());
  return Post("/webapi/entry", EntryQuery(api, method, all, version),
              "application/x-www-form-urlencoded", headers);
}

std::string HttpClient::Login(const std::string& account, const std::string& password) {
  HttpResponse response =
      CallPost("QUOR.API.Auth", "login", {{"account", account}, {"passwd", password}});
  Json::Value json = response.Json();
  if (!json["success"].asBool()) return {};
  return json["data"]["sid"].asString();
}

}  // namespace Sonvik::e2e
