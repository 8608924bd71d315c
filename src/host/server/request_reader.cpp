#include "host/server/request_reader.h"

#include <strings.h>

#include <algorithm>
#include <cctype>
#include <climits>
#include <utility>

#include "host/server/http_limits.h"

namespace QUOR::server {
namespace {

RequestReader* Self(http_parser* parser) { return static_cast<RequestReader*>(parser->data); }

void ToLower(std::string* text) {
  for (char& c : *text) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
}

// RFC 9110 token characters; http-parser in its lenient build lets blanks into field names,
// which proxies in front could read differently (request smuggling).
bool IsTokenChar(char c) {
  if (std::isalnum(static_cast<unsigned char>(c))) return true;
  return std::string_view("!#$%&'*+-.^_`|~").find(c) != std::string_view::npos;
}

void TrimTrailing(std::string* text) {
  while (!text->empty() && (text->back() == ' ' || text->back() == '\t')) text->pop_back();
}

}  // namespace

RequestReader::RequestReader() {
  // The parser counts the request line and fields against this on its own (HPE_HEADER_OVERFLOW).
  http_parser_set_max_header_size(static_cast<uint32_t>(limits::kMaxHeadBytes));
  http_parser_settings_init(&settings_);
  settings_.on_message_begin = &RequestReader::OnMessageBegin;
  settings_.on_url = &RequestReader::OnUrl;
  settings_.on_header_field = &RequestReader::OnHeaderField;
  settings_.on_header_value = &RequestReader::OnHeaderValue;
  settings_.on_headers_complete = &RequestReader::OnHeadersComplete;
  settings_.on_body = &RequestReader::OnBody;
  settings_.on_message_complete = &RequestReader::OnMessageComplete;
  Reset();
}

void RequestReader::Reset() {
  http_parser_init(&parser_, HTTP_REQUEST);
  parser_.data = this;
  request_ = HttpRequest();
  started_ = false;
  head_complete_ = false;
  complete_ = false;
  in_value_ = false;
  continue_requested_ = false;
  error_status_ = 0;
}

RequestReader::Status RequestReader::Feed(std::string_view data, size_t* consumed) {
  *consumed = 0;
  if (complete_) return Status::kComplete;
  if (error_status_ != 0) return Status::kError;
  if (data.empty()) return Status::kNeedMore;
  // Blank lines ahead of a request are allowed and do not start its deadline.
  if (!started_) {
    size_t skip = 0;
    while (skip < data.size() && (data[skip] == '\r' || data[skip] == '\n')) ++skip;
    if (skip == data.size()) {
      *consumed = skip;
      return Status::kNeedMore;
    }
    started_ = true;
  }
  size_t parsed = http_parser_execute(&parser_, &settings_, data.data(), data.size());
  *consumed = parsed;
  auto error = HTTP_PARSER_ERRNO(&parser_);
  if (complete_) return Status::kComplete;
  if (error_status_ != 0) return Status::kError;
  if (error != HPE_OK) {
    error_status_ = error == HPE_HEADER_OVERFLOW ? 431 : 400;
    return Status::kError;
  }
  return Status::kNeedMore;
}

bool RequestReader::TakeContinueRequest() { return std::exchange(continue_requested_, false); }

int RequestReader::OnMessageBegin(http_parser* parser) {
  Self(parser)->started_ = true;
  return 0;
}

int RequestReader::OnUrl(http_parser* parser, const char* at, size_t length) {
  RequestReader* self = Self(parser);
  if (self->request_.target.size() + length > limits::kMaxUrlBytes) {
    self->error_status_ = 414;
    return -1;
  }
  self->request_.target.append(at, length);
  return 0;
}

int RequestReader::OnHeaderField(http_parser* parser, const char* at, size_t length) {
  RequestReader* self = Self(parser);
  auto& headers = self->request_.headers;
  if (headers.empty() || self->in_value_) {
    if (headers.size() >= limits::kMaxHeaderFields) {
      self->error_status_ = 431;
      return -1;
    }
    headers.emplace_back();
    self->in_value_ = false;
  }
  for (size_t i = 0; i < length; ++i) {
    if (!IsTokenChar(at[i])) {
      self->error_status_ = 400;
      return -1;
    }
  }
  headers.back().first.append(at, length);
  return 0;
}

int RequestReader::OnHeaderValue(http_parser* parser, const char* at, size_t length) {
  RequestReader* self = Self(parser);
  self->in_value_ = true;
  self->request_.headers.back().second.append(at, length);
  return 0;
}

int RequestReader::OnHeadersComplete(http_parser* parser) {
  RequestReader* self = Self(parser);
  HttpRequest& request = self->request_;
  for (auto& [name, value] : request.headers) {
    ToLower(&name);
    TrimTrailing(&value);
  }
  if (parser->method == HTTP_CONNECT) {
    self->error_status_ = 400;  // no tunnels here
    return -1;
  }
  request.method = http_method_str(static_cast<http_method>(parser->method));
  request.http_major = parser->http_major;
  request.http_minor = parser->http_minor;
  self->head_complete_ = true;
  // A declared body over the limit is refused before a byte of it is read.
  if ((parser->flags & F_CONTENTLENGTH) != 0 && parser->content_length > limits::kMaxBodyBytes) {
    self->error_status_ = 413;
    return -1;
  }
  const std::string* expect = request.Header("expect");
  if (expect != nullptr && strcasecmp(expect->c_str(), "100-continue") == 0 && request.http11()) {
    self->continue_requested_ = true;
  }
  return 0;
}

int RequestReader::OnBody(http_parser* parser, const char* at, size_t length) {
  RequestReader* self = Self(parser);
  if (self->request_.body.size() + length > limits::kMaxBodyBytes) {
    self->error_status_ = 413;
    return -1;
  }
  self->request_.body.append(at, length);
  return 0;
}

int RequestReader::OnMessageComplete(http_parser* parser) {
  RequestReader* self = Self(parser);
  self->complete_ = true;
  self->continue_requested_ = false;
  self->request_.keep_alive = http_should_keep_alive(parser) != 0 && !parser->upgrade;
  // Stop here: what follows belongs to the next request.
  http_parser_pause(parser, 1);
  return 0;
}

}  // namespace QUOR::server
