#pragma once
// A libcurl client for the server under test. One client is one connection, kept alive across
// calls (make several clients for separate connections). Nothing is followed or decoded behind
// the test's back: status line, header fields and body bytes come back as sent.
#include <json/value.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

typedef void CURL;

namespace Sonvik::e2e {

using Params = std::vector<std::pair<std::string, std::string>>;
using Headers = std::vector<std::string>;  // "Name: value"

struct HttpResponse {
  long status = 0;          // 0 when no answer came (connection failed or closed)
  std::string status_line;  // "HTTP/1.1 200 OK"
  std::vector<std::pair<std::string, std::string>> headers;  // as received, in order
  std::string body;                                          // raw bytes
  std::string error;                                         // libcurl's message when status is 0

  // The first field named `name` (case-insensitive); empty when absent.
  std::string Header(const std::string& name) const;
  bool HasHeader(const std::string& name) const;
  // The body as JSON; a null value when it is not JSON.
  Json::Value Json() const;
  // For envelopes: true/false of "success", the error code (0 on success).
  bool Success() const;
  int ErrorCode() const;
};

class HttpClient {
 public:
  explicit HttpClient(std::string base_url);  // "http://127.0.0.1:5080"
  ~HttpClient();
  HttpClient(const HttpClient&) = delete;
  HttpClient& operator=(const HttpClient&) = delete;

  HttpResponse Get(const std::string& path_and_query, const Headers& headers = {});
  HttpResponse Head(const std::string& path_and_query, const Headers& headers = {});
  HttpResponse Post(const std::string& path, const std::string& body,
                    const std::string& content_type = "application/x-www-form-urlencoded",
                    const Headers& headers = {});

  // GET /webapi/entry?api=..&version=..&method=..&<params> (each part form-encoded).
  HttpResponse Call(const std::string& api, const std::string& method, const Params& params = {},
                    int version = 1, const Headers& headers = {});
  // The same as a form POST.
  HttpResponse CallPost(const std::string& api, const std::string& method,
                        const Params& params = {}, int version = 1, const Headers& headers = {});

  // Parameters every Call/CallPost adds after its own, e.g. {{"_sid", sid}}.
  void SetDefaultParams(Params params) { default_params_ = std::move(params); }

  // Logs in with QUOR.API.Auth login; the session id, or empty when the login failed.
  std::string Login(const std::string& account, const std::string& password);

  // "api=QUOR.API.Info&version=1&method=query&..." with every part form-encoded.
  static std::string EntryQuery(const std::string& api, const std::string& method,
                                const Params& params, int version);
  static std::string FormEncode(const std::string& text);

  const std::string& base_url() const { return base_url_; }

 private:
  HttpResponse Perform(const std::string& method, const std::string& url, const Headers& headers,
                       const std::string* body);

  std::string base_url_;
  Params default_params_;
  CURL* curl_ = nullptr;
};

}  // namespace Sonvik::e2e
