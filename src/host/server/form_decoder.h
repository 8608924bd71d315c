#pragma once
// Decoding of query strings and application/x-www-form-urlencoded bodies:
//   name=value&name2=value2   with '+' for a blank and %XX for any byte.
// Pure functions with explicit limits; the dispatcher turns a failure into error 114.
#include <map>
#include <string>
#include <string_view>

namespace QUOR::server {

enum class FormError {
  kNone,
  kBadEncoding,    // '%' without two hex digits after it, or an encoded NUL byte
  kValueTooLong,   // a decoded name or value longer than limits::kMaxParamValueBytes
  kTooManyParams,  // more than limits::kMaxParams pairs in all
};

// Decodes `text` into `params`. Empty pairs ("a=1&&b=2") are skipped; a pair without '=' is a
// name with an empty value. When a name is already present (from this text or an earlier call)
// the first value stays. On failure `params` may hold the pairs decoded so far.
FormError DecodeForm(std::string_view text, std::map<std::string, std::string>* params);

// Percent-decodes one component; false on a bad escape or an encoded NUL.
bool PercentDecode(std::string_view text, bool plus_is_space, std::string* out);

const char* FormErrorName(FormError error);

}  // namespace QUOR::server
