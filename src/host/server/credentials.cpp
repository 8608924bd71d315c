#include "host/server/credentials.h"

#include <strings.h>

namespace QUOR::server {
namespace {

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

}  // namespace

std::optional<std::string> FindCookie(std::string_view header, std::string_view name) {
  while (!header.empty()) {
    size_t semicolon = header.find(';');
    std::string_view pair = TrimBlanks(header.substr(0, semicolon));
    header =
        semicolon == std::string_view::npos ? std::string_view() : header.substr(semicolon + 1);
    size_t eq = pair.find('=');
    if (eq == std::string_view::npos) continue;
    if (TrimBlanks(pair.substr(0, eq)) != name) continue;
    std::string_view value = TrimBlanks(pair.substr(eq + 1));
    if (value.size() >= 2 && value.front() == '"' && value.back() == '"') {
      value = value.substr(1, value.size() - 2);
    }
    if (value.empty()) return std::nullopt;
    return std::string(value);
  }
  return std::nullopt;
}

std::optional<std::string> BearerToken(std::string_view authorization) {
  authorization = TrimBlanks(authorization);
  constexpr std::string_view kScheme = "bearer ";
  if (authorization.size() <= kScheme.size() ||
      strncasecmp(authorization.data(), kScheme.data(), kScheme.size()) != 0) {
    return std::nullopt;
  }
  std::string_view token = TrimBlanks(authorization.substr(kScheme.size()));
  if (token.empty() || token.find(' ') != std::string_view::npos) return std::nullopt;
  return std::string(token);
}

PresentedCredentials FindCredentials(const HttpRequest& request,
                                     const std::map<std::string, std::string>& params) {
  PresentedCredentials found;
  if (const std::string* cookie = request.Header("cookie")) {
    found.session_id = FindCookie(*cookie, kSessionCookie);
  }
  if (!found.session_id) {
    auto it = params.find("_sid");
    if (it != params.end() && !it->second.empty()) found.session_id = it->second;
  }
  if (const std::string* authorization = request.Header("authorization")) {
    found.token = BearerToken(*authorization);
  }
  if (!found.token) {
    auto it = params.find("_token");
    if (it != params.end() && !it->second.empty()) found.token = it->second;
  }
  return found;
}

std::string LogSafe(std::string_view text) {
  constexpr size_t kMax = 64;
  std::string out;
  for (char c : text.substr(0, kMax)) {
    unsigned char byte = static_cast<unsigned char>(c);
    out.push_back(byte >= 0x20 && byte < 0x7f ? c : '?');
  }
  if (text.size() > kMax) out += "...";
  return out;
}

}  // namespace QUOR::server
