#include "package/scanner/file_kinds.h"

#include <array>
#include <cctype>
#include <string>

namespace Sonvik::scanner {

namespace {

constexpr std::array<std::string_view, 18> kAudioExtensions = {
    "mp3", "flac", "ogg",  "oga", "opus", "spx", "m4a", "m4b", "wav",
    "aif", "aiff", "aifc", "wma", "asf",  "ape", "wv",  "mpc", "tta"};

std::string Lower(std::string_view text) {
  std::string lower(text);
  for (char& c : lower) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return lower;
}

}  // namespace

bool IsAudioExtension(std::string_view extension) {
  if (extension.size() > 4) return false;
  const std::string lower = Lower(extension);
  for (std::string_view known : kAudioExtensions) {
    if (lower == known) return true;
  }
  return false;
}

FileKind ClassifyFileName(std::string_view name) {
  const size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return FileKind::kOther;
  const std::string_view extension = name.substr(dot + 1);
  if (IsAudioExtension(extension)) return FileKind::kAudio;
  if (extension.size() > 4) return FileKind::kOther;
  const std::string lower = Lower(extension);
  if (lower == "cue") return FileKind::kCueSheet;
  if (lower == "m3u" || lower == "m3u8") return FileKind::kPlaylist;
  return FileKind::kOther;
}

}  // namespace Sonvik::scanner
