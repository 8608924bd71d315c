#pragma once
// The base of every per-request handler object: it keeps the request and the response, which
// outlive the handler (the host owns both).

namespace QUOR {

class APIRequest;
class APIResponse;

class BaseHandler {
 public:
  BaseHandler(APIRequest* request, APIResponse* response)
      : request_(request), response_(response) {}
  BaseHandler(const BaseHandler&) = delete;
  BaseHandler& operator=(const BaseHandler&) = delete;
  ~BaseHandler() = default;

 protected:
  APIRequest* request_;
  APIResponse* response_;
};

}  // namespace QUOR
