#include "package/playlist/playlist_name.h"

#include <cstdint>

namespace Sonvik::playlist {
namespace {

// Decodes one UTF-8 sequence at `text[i]`; answers its length, 0 when it is malformed
// (overlong forms, surrogates and values above U+10FFFF included). `code` gets the value.
size_t DecodeUtf8(std::string_view text, size_t i, uint32_t& code) {
  const auto byte = [&](size_t k) { return static_cast<unsigned char>(text[k]); };
  unsigned char lead = byte(i);
  size_t length;
  uint32_t min;
  if (lead < 0x80) {
    code = lead;
    return 1;
  } else if ((lead & 0xE0) == 0xC0) {
    length = 2, min = 0x80, code = lead & 0x1F;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3, min = 0x800, code = lead & 0x0F;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4, min = 0x10000, code = lead & 0x07;
  } else {
    return 0;
  }
  if (i + length > text.size()) return 0;
  for (size_t k = 1; k < length; ++k) {
    if ((byte(i + k) & 0xC0) != 0x80) return 0;
    code = (code << 6) | (byte(i + k) & 0x3F);
  }
  if (code < min || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return 0;
  return length;
}

bool IsControl(uint32_t code) { return code < 0x20 || (code >= 0x7F && code <= 0x9F); }

}  // namespace

const char* PlaylistNameProblem(std::string_view name) {
  if (name.empty()) return "a playlist name cannot be empty";
  if (name.size() > kMaxPlaylistNameBytes) return "a playlist name is at most 255 bytes long";
  for (size_t i = 0; i < name.size();) {
    uint32_t code = 0;
    size_t length = DecodeUtf8(name, i, code);
    if (length == 0) return "a playlist name must be valid UTF-8";
    if (IsControl(code)) return "a playlist name cannot hold control characters";
    i += length;
  }
  if (name.front() == '/') return "a playlist name cannot start with \"/\"";
  if (name == "." || name == ".." || name.find("../") != std::string_view::npos) {
    return "a playlist name cannot be \".\" or \"..\" or hold \"../\"";
  }
  return "";
}

bool IsValidPlaylistName(std::string_view name) { return *PlaylistNameProblem(name) == '\0'; }

bool IsValidPlaylistFileName(std::string_view name) {
  return IsValidPlaylistName(name) && name.find('/') == std::string_view::npos;
}

}  // namespace Sonvik::playlist
