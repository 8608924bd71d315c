#include "package/scanner/text_encoding.h"

#include <utf8proc.h>

namespace Sonvik::scanner {
namespace {

bool IsValidUtf8(std::string_view text) {
  const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  auto remaining = static_cast<utf8proc_ssize_t>(text.size());
  while (remaining > 0) {
    utf8proc_int32_t code_point = 0;
    const utf8proc_ssize_t length = utf8proc_iterate(bytes, remaining, &code_point);
    if (length <= 0) return false;
    bytes += length;
    remaining -= length;
  }
  return true;
}

}  // namespace

std::string ToUtf8FromUtf8OrLatin1(std::string_view text) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark) text.remove_prefix(3);
  if (IsValidUtf8(text)) return std::string(text);
  // Latin-1 bytes are the code points U+0000 to U+00FF.
  std::string converted;
  converted.reserve(text.size() * 2);
  for (char c : text) {
    utf8proc_uint8_t encoded[4];
    const auto length = utf8proc_encode_char(static_cast<unsigned char>(c), encoded);
    converted.append(reinterpret_cast<const char*>(encoded), static_cast<size_t>(length));
  }
  return converted;
}

}  // namespace Sonvik::scanner
