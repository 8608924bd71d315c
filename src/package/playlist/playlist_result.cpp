#include "package/playlist/playlist_result.h"

#include <string_view>

#include "package/playlist/playlist_name.h"

namespace Sonvik::webapi::playlist {
namespace {

using Sonvik::playlist::IsValidPlaylistFileName;
using Sonvik::playlist::IsValidPlaylistName;
using Sonvik::playlist::kMaxPlaylistNameBytes;

struct IdPrefix {
  std::string_view text;
  bool is_personal;
  bool is_smart;
};
constexpr IdPrefix kPrefixes[] = {
    {"personal_normal_", true, false},
    {"personal_smart_", true, true},
    {"shared_normal_", false, false},
    {"shared_smart_", false, true},
};
// The longest prefix, a key, "/" and a name.
constexpr size_t kMaxIdBytes = 16 + kMaxPlaylistNameBytes + 1 + kMaxPlaylistNameBytes;

const IdPrefix& PrefixOf(bool is_personal, bool is_smart) {
  for (const auto& prefix : kPrefixes) {
    if (prefix.is_personal == is_personal && prefix.is_smart == is_smart) return prefix;
  }
  return kPrefixes[0];  // not reached: the table covers all four
}

// A playlist number as "%lu" writes it: decimal, no sign, no leading zero, not 0, fits 64 bits.
bool IsCanonicalNumber(std::string_view text) {
  if (text.empty() || text.size() > 20 || text.front() == '0') return false;
  unsigned long value = 0;
  for (char c : text) {
    if (c < '0' || c > '9') return false;
    unsigned long digit = static_cast<unsigned long>(c - '0');
    if (value > (~0UL - digit) / 10) return false;
    value = value * 10 + digit;
  }
  return true;
}

bool IsValidNormalKey(std::string_view key, bool is_personal) {
  if (IsCanonicalNumber(key)) return true;
  return is_personal && IsValidPlaylistFileName(key);
}

// Rules on the id as a whole, whatever its parts.
bool IsAcceptableIdText(std::string_view text) {
  if (text.size() > kMaxIdBytes || text.find("../") != std::string_view::npos) return false;
  for (char c : text) {
    auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F) return false;
  }
  return true;
}

}  // namespace

PlaylistResult::PlaylistResult(const std::string& playlist_name, bool personal)
    : name(playlist_name), id(playlist_name), is_personal(personal), is_smart(true) {}

PlaylistResult::PlaylistResult(const std::string& playlist_name, const std::string& key,
                               bool personal)
    : name(playlist_name), id(key), is_personal(personal), is_smart(false) {}

PlaylistResult::PlaylistResult(const std::string& webapi_id) {
  if (!IsAcceptableIdText(webapi_id)) return;
  const std::string_view text(webapi_id);
  for (const auto& prefix : kPrefixes) {
    if (!text.starts_with(prefix.text)) continue;
    std::string_view rest = text.substr(prefix.text.size());
    std::string_view key = rest;
    std::string_view display = rest;
    if (prefix.is_smart) {
      if (!IsValidPlaylistName(rest)) return;
    } else {
      size_t slash = rest.find('/');
      if (slash != std::string_view::npos) {
        key = rest.substr(0, slash);
        display = rest.substr(slash + 1);
        // The name part is written only when it differs from the key; keep the id canonical.
        if (display == key || !IsValidPlaylistName(display)) return;
      }
      if (!IsValidNormalKey(key, prefix.is_personal)) return;
    }
    name.assign(display);
    id.assign(key);
    is_personal = prefix.is_personal;
    is_smart = prefix.is_smart;
    return;
  }
}

std::string PlaylistResult::GetId() const {
  std::string text(PrefixOf(is_personal, is_smart).text);
  if (is_smart) {
    if (!IsValidPlaylistName(name)) return {};
    text += name;
  } else {
    if (!IsValidNormalKey(id, is_personal)) return {};
    text += id;
    if (name != id) {
      if (!IsValidPlaylistName(name)) return {};
      text += '/';
      text += name;
    }
  }
  return IsAcceptableIdText(text) ? text : std::string();
}

}  // namespace Sonvik::webapi::playlist
