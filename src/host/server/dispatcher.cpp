#include "host/server/dispatcher.h"

#include <strings.h>
#include <syslog.h>

#include <charconv>
#include <chrono>
#include <exception>
#include <optional>

#include "host/api/web_api_util.h"
#include "host/server/cgi_environment.h"
#include "host/server/cgi_stdout.h"
#include "host/server/credentials.h"
#include "host/server/form_decoder.h"
#include "host/server/host_error_codes.h"
#include "package/paths.h"

namespace QUOR::server {
namespace {

constexpr const char* kEntryPath = "/webapi/entry";
constexpr const char* kInfoApi = "QUOR.API.Info";
constexpr const char* kAuthApi = "QUOR.API.Auth";

std::optional<int> ParseVersion(const std::string& text) {
  int version = 0;
  auto [end, ec] = std::from_chars(text.data(), text.data() + text.size(), version);
  if (text.empty() || ec != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return version;
}

bool IsFormBody(const std::string* content_type) {
  if (content_type == nullptr) return false;
  constexpr std::string_view kForm = "application/x-www-form-urlencoded";
  return content_type->size() >= kForm.size() &&
         strncasecmp(content_type->c_str(), kForm.data(), kForm.size()) == 0 &&
         (content_type->size() == kForm.size() || (*content_type)[kForm.size()] == ';' ||
          (*content_type)[kForm.size()] == ' ');
}

std::string Param(const std::map<std::string, std::string>& params, const char* name) {
  auto it = params.find(name);
  return it == params.end() ? std::string() : it->second;
}

}  // namespace

struct Dispatcher::Call {
  Call(const HttpRequest& http_request, int fd) : request(http_request), writer(fd, http_request) {}

  const HttpRequest& request;
  ResponseWriter writer;
  std::map<std::string, std::string> params;
  std::string api;
  std::string method;
  int envelope_code = -1;  // -1: no envelope sent; 0: success; else the error code
};

Dispatcher::Dispatcher(const ApiCatalog& catalog, const ServiceIdentity* identity)
    : catalog_(catalog), identity_(identity) {}

bool Dispatcher::Serve(const HttpRequest& request, int fd) {
  auto start = std::chrono::steady_clock::now();
  Call call(request, fd);
  Route(call);
  if (!call.writer.anything_sent()) {
    // Every path answers; this is the last guard against a silent connection.
    SendError(call, codes::kHandlerFailed);
  }
  double ms =
      std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
  std::string code = call.envelope_code > 0 ? " error " + std::to_string(call.envelope_code) : "";
  // Never the parameters: they may carry passwords, session ids or tokens.
  syslog(LOG_INFO, "access %s %s %s/%s %d%s %llu bytes %.1f ms", request.client_address.c_str(),
         LogSafe(request.method).c_str(), call.api.empty() ? "-" : LogSafe(call.api).c_str(),
         call.method.empty() ? "-" : LogSafe(call.method).c_str(), call.writer.status(),
         code.c_str(), static_cast<unsigned long long>(call.writer.body_bytes()), ms);
  return call.writer.keep_alive();
}

void Dispatcher::Route(Call& call) {
  const HttpRequest& request = call.request;
  if (request.Path() != kEntryPath) {
    call.writer.SendWhole(404, "text/plain; charset=utf-8", "Not Found\n");
    return;
  }
  if (request.method != "GET" && request.method != "POST" && request.method != "HEAD") {
    call.writer.SendWhole(405, "text/plain; charset=utf-8", "Method Not Allowed\n",
                          {{"Allow", "GET, POST, HEAD"}});
    return;
  }
  FormError form_error = DecodeForm(request.QueryString(), &call.params);
  if (form_error == FormError::kNone && !request.body.empty()) {
    if (!IsFormBody(request.Header("content-type"))) {
      syslog(LOG_NOTICE, "request from %s refused: body is not a form",
             request.client_address.c_str());
      SendError(call, codes::kMalformedRequest);
      return;
    }
    form_error = DecodeForm(request.body, &call.params);
  }
  if (form_error != FormError::kNone) {
    syslog(LOG_NOTICE, "request from %s refused: %s", request.client_address.c_str(),
           FormErrorName(form_error));
    SendError(call, codes::kMalformedRequest);
    return;
  }
  call.api = Param(call.params, "api");
  call.method = Param(call.params, "method");
  if (call.api.empty()) return SendError(call, codes::kNoSuchApi);
  std::optional<int> version = ParseVersion(Param(call.params, "version"));
  const MethodEntry* entry = nullptr;
  ApiCatalog::Lookup lookup = catalog_.Find(call.api, version.value_or(-1), call.method, &entry);
  switch (lookup) {
    case ApiCatalog::Lookup::kNoSuchApi:
      return SendError(call, codes::kNoSuchApi);
    case ApiCatalog::Lookup::kVersionNotSupported:
      return SendError(call, codes::kVersionNotSupported);
    case ApiCatalog::Lookup::kNoSuchMethod:
      return SendError(call, codes::kNoSuchMethod);
    case ApiCatalog::Lookup::kFound:
      break;
  }
  if (entry->host_method) {
    if (call.api == kInfoApi) return AnswerInfoQuery(call);
    if (call.method == "login") return AnswerLogin(call);
    return AnswerLogout(call);
  }

  accounts::AccountStore* store = Store();
  if (store == nullptr) return SendError(call, codes::kUnknown);
  PresentedCredentials credentials = FindCredentials(request, call.params);
  std::optional<accounts::User> user;
  try {
    // A login remembered from the last seconds needs neither the database nor root. A session
    // id takes precedence over a token, as below.
    if (credentials.session_id) {
      user = store->RememberedSession(*credentials.session_id);
    } else if (credentials.token) {
      user = store->RememberedToken(*credentials.token);
    }
    if (!user) {
      ScopedRoot root(identity_);
      if (credentials.session_id) user = store->ResolveSession(*credentials.session_id);
      if (!user && credentials.token) user = store->ResolveToken(*credentials.token);
    }
  } catch (const std::exception& e) {
    syslog(LOG_ERR, "account store failed while checking a login: %s", e.what());
    store_.reset();
    return SendError(call, codes::kUnknown);
  }
  if (!user) return SendError(call, codes::kNotLoggedIn);
  RunModuleMethod(call, *entry, QUOR::LoginInfo{user->uid, user->name, user->preference_dir});
}

void Dispatcher::RunModuleMethod(Call& call, const MethodEntry& entry, QUOR::LoginInfo login) {
  // Credentials are the host's business; handlers never see them.
  call.params.erase("_sid");
  call.params.erase("_token");
  QUOR::APIRequest api_request(call.params, std::move(login));
  QUOR::APIResponse response;
  bool threw = false;
  {
    CgiEnvironmentScope environment(call.request);
    CgiStdoutScope output(&call.writer);
    try {
      if (entry.check(&api_request, &response)) entry.handler(&api_request, &response);
    } catch (const std::exception& e) {
      syslog(LOG_ERR, "handler of %s/%s threw: %s", LogSafe(call.api).c_str(),
             LogSafe(call.method).c_str(), e.what());
      threw = true;
    } catch (...) {
      syslog(LOG_ERR, "handler of %s/%s threw", LogSafe(call.api).c_str(),
             LogSafe(call.method).c_str());
      threw = true;
    }
  }
  if (call.writer.cgi_started()) {
    // Raw output: the host adds nothing of its own. A body cut short by a throw must not look
    // complete, so the connection closes instead of ending the framing.
    if (threw && call.writer.anything_sent()) call.writer.Abort();
    call.writer.FinishCgi();
    return;
  }
  if (threw) return SendError(call, codes::kHandlerFailed);
  if (response.state() == QUOR::APIResponse::State::kUnanswered) {
    syslog(LOG_ERR, "handler of %s/%s answered nothing", LogSafe(call.api).c_str(),
           LogSafe(call.method).c_str());
  }
  SendEnvelope(call, response);
}

void Dispatcher::AnswerInfoQuery(Call& call) {
  std::string query = Param(call.params, "query");
  auto wanted = [&query](const std::string& name) {
    if (query.empty() || query == "all") return true;
    std::string_view rest(query);
    while (!rest.empty()) {
      size_t comma = rest.find(',');
      if (rest.substr(0, comma) == name) return true;
      rest = comma == std::string_view::npos ? std::string_view() : rest.substr(comma + 1);
    }
    return false;
  };
  Json::Value data(Json::objectValue);
  for (const auto& [name, range] : catalog_.Versions()) {
    if (!wanted(name)) continue;
    Json::Value api(Json::objectValue);
    api["minVersion"] = range.min_version;
    api["maxVersion"] = range.max_version;
    data[name] = api;
  }
  QUOR::APIResponse response;
  response.SetSuccess(data);
  SendEnvelope(call, response);
}

void Dispatcher::AnswerLogin(Call& call) {
  std::string account = Param(call.params, "account");
  std::string password = Param(call.params, "passwd");
  if (account.empty() || password.empty()) return SendError(call, codes::kWrongCredentials);
  accounts::AccountStore* store = Store();
  if (store == nullptr) return SendError(call, codes::kUnknown);
  accounts::User user;
  std::string sid;
  accounts::LoginResult result;
  try {
    ScopedRoot root(identity_);
    result = store->Login(account, password, call.request.client_address, &user);
    if (result == accounts::LoginResult::kOk) sid = store->CreateSession(user.uid);
  } catch (const std::exception& e) {
    syslog(LOG_ERR, "account store failed during a login: %s", e.what());
    store_.reset();
    return SendError(call, codes::kUnknown);
  }
  if (result == accounts::LoginResult::kRateLimited) {
    syslog(LOG_WARNING, "login refused for account %s from %s: too many failed attempts",
           LogSafe(account).c_str(), call.request.client_address.c_str());
    return SendError(call, codes::kWrongCredentials);
  }
  if (result != accounts::LoginResult::kOk) {
    syslog(LOG_NOTICE, "login failed for account %s from %s", LogSafe(account).c_str(),
           call.request.client_address.c_str());
    return SendError(call, codes::kWrongCredentials);
  }
  syslog(LOG_INFO, "login of %s from %s", LogSafe(user.name).c_str(),
         call.request.client_address.c_str());
  Json::Value data(Json::objectValue);
  data["sid"] = sid;
  QUOR::APIResponse response;
  response.SetSuccess(data);
  SendEnvelope(call, response,
               {{"Set-Cookie",
                 std::string(kSessionCookie) + "=" + sid + "; Path=/; HttpOnly; SameSite=Lax"}});
}

void Dispatcher::AnswerLogout(Call& call) {
  PresentedCredentials credentials = FindCredentials(call.request, call.params);
  if (!credentials.session_id) return SendError(call, codes::kNotLoggedIn);
  accounts::AccountStore* store = Store();
  if (store == nullptr) return SendError(call, codes::kUnknown);
  try {
    ScopedRoot root(identity_);
    if (!store->ResolveSession(*credentials.session_id)) {
      return SendError(call, codes::kNotLoggedIn);
    }
    store->DeleteSession(*credentials.session_id);
  } catch (const std::exception& e) {
    syslog(LOG_ERR, "account store failed during a logout: %s", e.what());
    store_.reset();
    return SendError(call, codes::kUnknown);
  }
  QUOR::APIResponse response;
  response.SetSuccess(Json::Value(Json::objectValue));
  SendEnvelope(call, response,
               {{"Set-Cookie", std::string(kSessionCookie) + "=; Path=/; Max-Age=0; HttpOnly"}});
}

void Dispatcher::SendEnvelope(Call& call, const APIResponse& response, const HeaderFields& extra) {
  Json::Value envelope = response.Envelope();
  call.envelope_code = envelope["success"].asBool() ? 0 : envelope["error"]["code"].asInt();
  HeaderFields fields = extra;
  fields.emplace_back("Cache-Control", "no-store");
  call.writer.SendWhole(200, "application/json; charset=utf-8",
                        QUOR::WebAPIUtil::ToCompactString(envelope), fields);
}

void Dispatcher::SendError(Call& call, int code) {
  QUOR::APIResponse response;
  response.SetError(code);
  SendEnvelope(call, response);
}

accounts::AccountStore* Dispatcher::Store() {
  if (store_) return store_.get();
  try {
    ScopedRoot root(identity_);
    store_ = std::make_unique<accounts::AccountStore>(Sonvik::paths::kAccountsDb);
  } catch (const std::exception& e) {
    syslog(LOG_ERR, "cannot open the account store %s: %s", Sonvik::paths::kAccountsDb, e.what());
  }
  return store_.get();
}

}  // namespace QUOR::server
