#include "package/library/fixed_text.h"

#include <cstring>

namespace Sonvik::library {

bool CopyFixedText(std::string_view text, char* buffer, size_t capacity) {
  if (capacity == 0) return text.empty();
  size_t length = text.size();
  const bool fits = length < capacity;
  if (!fits) {
    length = capacity - 1;
    // Back up over continuation bytes (10xxxxxx) to the start of the character that was cut.
    if ((static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
      while (length > 0 && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) --length;
    }
  }
  std::memcpy(buffer, text.data(), length);
  buffer[length] = '\0';
  return fits;
}

}  // namespace Sonvik::library
