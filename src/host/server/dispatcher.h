#pragma once
// Serves one complete request inside a worker: decodes the parameters, answers the host's own
// APIs (QUOR.API.Info, QUOR.API.Auth), establishes the logged-in user and runs a module method's
// check and handler with stdout as the CGI output, then sends the envelope when the handler wrote
// nothing itself. Logs one access line per request.
#include <map>
#include <memory>
#include <string>

#include "host/accounts/account_store.h"
#include "host/api/api_request.h"
#include "host/api/api_response.h"
#include "host/server/api_catalog.h"
#include "host/server/http_request.h"
#include "host/server/response_writer.h"
#include "host/server/service_identity.h"

namespace QUOR::server {

class Dispatcher {
 public:
  // `identity` is null when the server runs without root.
  Dispatcher(const ApiCatalog& catalog, const ServiceIdentity* identity);

  // Answers `request` on socket `fd`; true when the connection may carry another request.
  bool Serve(const HttpRequest& request, int fd);

 private:
  struct Call;  // one request's state
  void Route(Call& call);
  void AnswerInfoQuery(Call& call);
  void AnswerLogin(Call& call);
  void AnswerLogout(Call& call);
  void RunModuleMethod(Call& call, const MethodEntry& entry, QUOR::LoginInfo login);
  void SendEnvelope(Call& call, const APIResponse& response, const HeaderFields& extra = {});
  void SendError(Call& call, int code);
  // The account store, opened on first use and kept open; null when it cannot be opened.
  accounts::AccountStore* Store();

  const ApiCatalog& catalog_;
  const ServiceIdentity* identity_;
  std::unique_ptr<accounts::AccountStore> store_;
};

}  // namespace QUOR::server
