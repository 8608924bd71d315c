#include "host/server/cgi_environment.h"

#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <string_view>

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

CgiEnvironmentScope::CgiEnvironmentScope(const HttpRequest& request) : saved_(environ) {
  CgiVariables variables = MakeCgiVariables(request);
  entries_.reserve(variables.size());
  for (const auto& [name, value] : variables) entries_.push_back(name + "=" + value);
  auto set_here = [&variables](std::string_view entry) {
    std::string_view name = entry.substr(0, entry.find('='));
    for (const auto& variable : variables) {
      if (variable.first == name) return true;
    }
    return false;
  };
  for (char** inherited = saved_; inherited != nullptr && *inherited != nullptr; ++inherited) {
    if (!set_here(*inherited)) environment_.push_back(*inherited);
  }
  for (std::string& entry : entries_) environment_.push_back(entry.data());
  environment_.push_back(nullptr);
  environ = environment_.data();
}

CgiEnvironmentScope::~CgiEnvironmentScope() { environ = saved_; }

}  // namespace QUOR::server
