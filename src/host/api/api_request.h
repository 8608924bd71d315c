#pragma once
// One web-API request as the host hands it to a check function and a handler: the decoded
// parameters and the logged-in user. Built by the host's dispatcher; read-only for handlers.
#include <map>
#include <string>

#include "host/api/api_parameter.h"

namespace QUOR {

class APIValidator;

enum PARAM_NECESSITY : int { PARAM_REQUIRED = 0, PARAM_OPTIONAL = 1 };

struct LoginInfo {
  unsigned uid = 0;
  std::string user_name;
  std::string preference_dir;
};

class APIRequest {
 public:
  APIRequest() = default;
  APIRequest(std::map<std::string, std::string> params, LoginInfo login)
      : params_(std::move(params)), login_(std::move(login)) {}

  // An integer parameter: optional sign and decimal digits that fit 32 bits, nothing else.
  // The validator is not used by this host's callers and may be null.
  APIParameter<int> GetAndCheckInt(const std::string& name, PARAM_NECESSITY necessity,
                                   const APIValidator* validator) const;
  APIParameter<std::string> GetAndCheckString(const std::string& name, PARAM_NECESSITY necessity,
                                              const APIValidator* validator) const;

  unsigned GetLoginUID() const { return login_.uid; }
  std::string GetLoginUserName() const { return login_.user_name; }
  std::string GetPreferenceDir() const { return login_.preference_dir; }

  const std::map<std::string, std::string>& params() const { return params_; }

 private:
  std::map<std::string, std::string> params_;
  LoginInfo login_;
};

}  // namespace QUOR
