#include "host/server/cgi_environment.h"

#include <cctype>
#include <cstdlib>

namespace QUOR::server {

CgiVariables MakeCgiVariables(const HttpRequest& request) {
  CgiVariables variables;
  variables.emplace_back("GATEWAY_INTERFACE", "CGI/1.1");
  variables.emplace_back("REQUEST_METHOD", request.method);
  variables.emplace_back("QUERY_STRING", std::string(request.QueryString()));
  variables.emplace_back("SCRIPT_NAME", std::string(request.Path()));
  variables.emplace_back("SERVER_PROTOCOL", "HTTP/" + std::to_string(request.http_major) + "." +
                                                std::to_string(request.http_minor));
  variables.emplace_back("REMOTE_ADDR", request.client_address);
  for (const auto& [name, value] : request.headers) {
    if (name == "authorization" || name == "cookie" || name == "proxy") continue;
    if (name == "content-type") {
      variables.emplace_back("CONTENT_TYPE", value);
      continue;
    }
    if (name == "content-length") {
      variables.emplace_back("CONTENT_LENGTH", value);
      continue;
    }
    std::string variable = "HTTP_";
    bool usable = true;
    for (char c : name) {
      if (c == '-') {
        variable.push_back('_');
      } else if (std::isalnum(static_cast<unsigned char>(c))) {
        variable.push_back(static_cast<char>(std::toupper(static_cast<unsigned char>(c))));
      } else {
        usable = false;  // no variable name can carry it
        break;
      }
    }
    if (!usable) continue;
    bool seen = false;
    for (auto& [existing, existing_value] : variables) {
      if (existing == variable) {
        // Repeated fields join as one list, as HTTP allows for list-valued fields.
        existing_value += ", " + value;
        seen = true;
        break;
      }
    }
    if (!seen) variables.emplace_back(std::move(variable), value);
  }
  return variables;
}

CgiEnvironmentScope::CgiEnvironmentScope(const HttpRequest& request)
    : variables_(MakeCgiVariables(request)) {
  for (const auto& [name, value] : variables_) setenv(name.c_str(), value.c_str(), 1);
}

CgiEnvironmentScope::~CgiEnvironmentScope() {
  for (const auto& [name, value] : variables_) unsetenv(name.c_str());
}

}  // namespace QUOR::server
