#pragma once
// Request headers reach a handler CGI-style, as environment variables of the worker that exist
// only while the request runs: HTTP_RANGE, HTTP_IF_NONE_MATCH, REQUEST_METHOD, QUERY_STRING, ...
#include <string>
#include <utility>
#include <vector>

#include "host/server/http_request.h"

namespace QUOR::server {

using CgiVariables = std::vector<std::pair<std::string, std::string>>;

// The variables of one request. Credentials (Authorization, Cookie) are left out: handlers have
// no use for them and they must not leak into anything a handler might log or spawn.
CgiVariables MakeCgiVariables(const HttpRequest& request);

// Gives the process an environment of its own plus the request's variables for its lifetime, and
// puts the old one back afterwards. It swaps `environ` rather than calling setenv: glibc keeps
// every value ever set through setenv for the life of the process, and query strings differ on
// every request.
class CgiEnvironmentScope {
 public:
  explicit CgiEnvironmentScope(const HttpRequest& request);
  ~CgiEnvironmentScope();
  CgiEnvironmentScope(const CgiEnvironmentScope&) = delete;
  CgiEnvironmentScope& operator=(const CgiEnvironmentScope&) = delete;

 private:
  std::vector<std::string> entries_;  // "NAME=value"
  std::vector<char*> environment_;
  char** saved_ = nullptr;
};

}  // namespace QUOR::server
