#pragma once
// Where a request carries its login: the session cookie, the `_sid` parameter, a bearer token in
// Authorization, or the `_token` parameter (audio players fetch URLs without headers). Pure.
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "host/server/http_request.h"

namespace QUOR::server {

inline constexpr const char* kSessionCookie = "sonvik_sid";

struct PresentedCredentials {
  std::optional<std::string> session_id;  // cookie first, then `_sid`
  std::optional<std::string> token;       // Authorization: Bearer first, then `_token`
};

PresentedCredentials FindCredentials(const HttpRequest& request,
                                     const std::map<std::string, std::string>& params);

// The value of cookie `name` in a Cookie header ("a=1; b=2"), nullopt when absent.
std::optional<std::string> FindCookie(std::string_view header, std::string_view name);

// The token of "Bearer TOKEN" (scheme case-insensitive), nullopt for anything else.
std::optional<std::string> BearerToken(std::string_view authorization);

// Log-safe rendering of a client-chosen text: at most 64 bytes, control characters and
// non-ASCII replaced, so a name cannot forge log lines.
std::string LogSafe(std::string_view text);

}  // namespace QUOR::server
