#pragma once
// The picture embedded in an audio file's tags, read with TagLib.
#include <cstddef>
#include <string>

namespace Sonvik::webapi::cover {

// Pictures larger than this are ignored: a cover is never that big, a hostile file might be.
inline constexpr size_t kMaxPictureBytes = 16u << 20;

// The front cover if the file has one, else its first picture; empty when it has none (or the
// file cannot be read). Formats by extension: ID3v2 APIC (MP3, WAV, AIFF, TTA), FLAC picture
// blocks, MP4 "covr", Xiph METADATA_BLOCK_PICTURE (Ogg Vorbis, Opus, Speex, Ogg FLAC), APE
// "Cover Art (Front)"
// (APE, WavPack, Musepack) and ASF WM/Picture (WMA).
std::string ReadEmbeddedPicture(const std::string& path);

}  // namespace Sonvik::webapi::cover
