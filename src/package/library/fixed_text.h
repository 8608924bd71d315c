#pragma once
// Copying text into the fixed-size char arrays of exported records.
#include <cstddef>
#include <string_view>

namespace Sonvik::library {

// Copies `text` into `buffer` of `capacity` bytes (capacity >= 1), always NUL-terminated. Text
// that does not fit is cut before the last whole UTF-8 character that fits, so the result stays
// valid UTF-8. Answers false when it had to cut.
bool CopyFixedText(std::string_view text, char* buffer, size_t capacity);

template <size_t N>
bool CopyFixedText(std::string_view text, char (&buffer)[N]) {
  return CopyFixedText(text, buffer, N);
}

}  // namespace Sonvik::library
