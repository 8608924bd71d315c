#pragma once
// Reads an audio file's tags and properties with TagLib.
#include <optional>
#include <string>

#include "package/scanner/audio_tags.h"

namespace Sonvik::scanner {

// Reads `path` (an audio file by its extension, see file_kinds.h) with TagLib's fast property
// reading. Answers nullopt and sets `*error` when the file cannot be opened, is not the format
// its name says, or holds no readable audio stream. Safe to call from several threads at once,
// each on its own file. Never throws for a bad file.
std::optional<AudioTags> ReadAudioTags(const std::string& path, std::string* error);

}  // namespace Sonvik::scanner
