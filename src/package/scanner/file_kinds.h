#pragma once
// Which files in a music folder the scanner cares about, by file name extension.
#include <string_view>

namespace Sonvik::scanner {

enum class FileKind { kOther, kAudio, kCueSheet, kPlaylist };

// Classifies a file name by its extension, case-insensitively. Audio means a format TagLib
// reads (mp3, flac, ogg/oga/opus/spx, m4a/m4b, wav, aif/aiff/aifc, wma/asf, ape, wv, mpc, tta).
FileKind ClassifyFileName(std::string_view name);

// True for the extension (without the dot, any case) of an audio format the scanner accepts.
bool IsAudioExtension(std::string_view extension);

}  // namespace Sonvik::scanner
