#include "package/audio/content_type.h"

namespace Sonvik::audio {
namespace {

struct TypeByExtension {
  std::string_view extension;
  const char* type;
};

constexpr TypeByExtension kTypes[] = {
    {"mp3", "audio/mpeg"},     {"flac", "audio/flac"},      {"ogg", "audio/ogg"},
    {"oga", "audio/ogg"},      {"opus", "audio/ogg"},       {"spx", "audio/ogg"},
    {"m4a", "audio/mp4"},      {"m4b", "audio/mp4"},        {"mp4", "audio/mp4"},
    {"aac", "audio/aac"},      {"wav", "audio/wav"},        {"aif", "audio/aiff"},
    {"aiff", "audio/aiff"},    {"aifc", "audio/aiff"},      {"wma", "audio/x-ms-wma"},
    {"asf", "audio/x-ms-wma"}, {"tta", "audio/x-tta"},      {"ape", "audio/x-ape"},
    {"wv", "audio/x-wavpack"}, {"mka", "audio/x-matroska"}, {"mpc", "audio/x-musepack"},
    {"dsf", "audio/x-dsf"},    {"jpg", "image/jpeg"},       {"jpeg", "image/jpeg"},
    {"png", "image/png"},      {"webp", "image/webp"},      {"gif", "image/gif"},
    {"bmp", "image/bmp"},
};

}  // namespace

std::string_view LowerExtension(std::string_view path, char (&buffer)[16]) {
  size_t slash = path.rfind('/');
  std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
  size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return {};
  std::string_view extension = name.substr(dot + 1);
  if (extension.size() >= sizeof(buffer)) return {};
  for (size_t i = 0; i < extension.size(); ++i) {
    char c = extension[i];
    buffer[i] = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return {buffer, extension.size()};
}

const char* ContentTypeForPath(std::string_view path) {
  char buffer[16];
  std::string_view extension = LowerExtension(path, buffer);
  for (const auto& entry : kTypes) {
    if (entry.extension == extension) return entry.type;
  }
  return "application/octet-stream";
}

}  // namespace Sonvik::audio
