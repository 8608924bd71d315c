#include "host/server/http_request.h"

#include <cstdint>
#include <cstring>

namespace QUOR::server {

const std::string* HttpRequest::Header(std::string_view lower_name) const {
  for (const auto& [name, value] : headers) {
    if (name == lower_name) return &value;
  }
  return nullptr;
}

std::string_view HttpRequest::Path() const {
  std::string_view view(target);
  return view.substr(0, view.find('?'));
}

std::string_view HttpRequest::QueryString() const {
  std::string_view view(target);
  size_t mark = view.find('?');
  if (mark == std::string_view::npos) return {};
  view.remove_prefix(mark + 1);
  return view.substr(0, view.find('#'));
}

// Layout: u32 counts and lengths in host byte order (both ends are this same binary), strings
// as length plus bytes.
namespace {

void PutU32(std::string* out, uint32_t value) {
  out->append(reinterpret_cast<const char*>(&value), sizeof(value));
}
void PutString(std::string* out, std::string_view text) {
  PutU32(out, static_cast<uint32_t>(text.size()));
  out->append(text);
}

class Reader {
 public:
  explicit Reader(std::string_view bytes) : bytes_(bytes) {}
  bool U32(uint32_t* value) {
    if (bytes_.size() < sizeof(*value)) return false;
    std::memcpy(value, bytes_.data(), sizeof(*value));
    bytes_.remove_prefix(sizeof(*value));
    return true;
  }
  bool String(std::string* text) {
    uint32_t size = 0;
    if (!U32(&size) || bytes_.size() < size) return false;
    text->assign(bytes_.substr(0, size));
    bytes_.remove_prefix(size);
    return true;
  }
  bool AtEnd() const { return bytes_.empty(); }

 private:
  std::string_view bytes_;
};

}  // namespace

std::string EncodeRequest(const HttpRequest& request) {
  std::string out;
  out.reserve(64 + request.target.size() + request.body.size() + 32 * request.headers.size());
  PutString(&out, request.method);
  PutString(&out, request.target);
  PutU32(&out, static_cast<uint32_t>(request.http_major));
  PutU32(&out, static_cast<uint32_t>(request.http_minor));
  PutU32(&out, request.keep_alive ? 1 : 0);
  PutString(&out, request.client_address);
  PutU32(&out, static_cast<uint32_t>(request.headers.size()));
  for (const auto& [name, value] : request.headers) {
    PutString(&out, name);
    PutString(&out, value);
  }
  PutString(&out, request.body);
  return out;
}

bool DecodeRequest(std::string_view bytes, HttpRequest* request) {
  Reader in(bytes);
  uint32_t major = 0, minor = 0, keep_alive = 0, fields = 0;
  if (!in.String(&request->method) || !in.String(&request->target) || !in.U32(&major) ||
      !in.U32(&minor) || !in.U32(&keep_alive) || !in.String(&request->client_address) ||
      !in.U32(&fields) || fields > 1024) {
    return false;
  }
  request->http_major = static_cast<int>(major);
  request->http_minor = static_cast<int>(minor);
  request->keep_alive = keep_alive != 0;
  request->headers.clear();
  for (uint32_t i = 0; i < fields; ++i) {
    std::string name, value;
    if (!in.String(&name) || !in.String(&value)) return false;
    request->headers.emplace_back(std::move(name), std::move(value));
  }
  return in.String(&request->body) && in.AtEnd();
}

}  // namespace QUOR::server
