#include "host/server/form_decoder.h"

#include "host/server/http_limits.h"

namespace QUOR::server {
namespace {

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

bool PercentDecode(std::string_view text, bool plus_is_space, std::string* out) {
  out->clear();
  out->reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    char c = text[i];
    if (c == '+' && plus_is_space) {
      out->push_back(' ');
    } else if (c == '%') {
      if (i + 2 >= text.size()) return false;
      int high = HexValue(text[i + 1]);
      int low = HexValue(text[i + 2]);
      if (high < 0 || low < 0) return false;
      char byte = static_cast<char>(high * 16 + low);
      if (byte == '\0') return false;
      out->push_back(byte);
      i += 2;
    } else {
      out->push_back(c);
    }
  }
  return true;
}

FormError DecodeForm(std::string_view text, std::map<std::string, std::string>* params) {
  size_t pairs = 0;
  while (!text.empty()) {
    size_t amp = text.find('&');
    std::string_view pair = text.substr(0, amp);
    text = amp == std::string_view::npos ? std::string_view() : text.substr(amp + 1);
    if (pair.empty()) continue;
    if (++pairs > limits::kMaxParams) return FormError::kTooManyParams;
    size_t eq = pair.find('=');
    std::string_view raw_name = pair.substr(0, eq);
    std::string_view raw_value =
        eq == std::string_view::npos ? std::string_view() : pair.substr(eq + 1);
    // An encoded byte is three characters, so a raw text three times the limit is surely over
    // it; checking first keeps a huge value from being decoded at all.
    if (raw_name.size() > 3 * limits::kMaxParamValueBytes ||
        raw_value.size() > 3 * limits::kMaxParamValueBytes) {
      return FormError::kValueTooLong;
    }
    std::string name;
    std::string value;
    if (!PercentDecode(raw_name, true, &name) || !PercentDecode(raw_value, true, &value)) {
      return FormError::kBadEncoding;
    }
    if (name.size() > limits::kMaxParamValueBytes || value.size() > limits::kMaxParamValueBytes) {
      return FormError::kValueTooLong;
    }
    params->emplace(std::move(name), std::move(value));
  }
  return FormError::kNone;
}

const char* FormErrorName(FormError error) {
  switch (error) {
    case FormError::kNone:
      return "none";
    case FormError::kBadEncoding:
      return "bad encoding";
    case FormError::kValueTooLong:
      return "value too long";
    case FormError::kTooManyParams:
      return "too many parameters";
  }
  return "unknown";
}

}  // namespace QUOR::server
