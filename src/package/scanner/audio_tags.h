#pragma once
// What the scanner learns from one audio file: its tags and audio properties.
#include <cstdint>
#include <string>

namespace Sonvik::scanner {

struct AudioTags {
  std::string title;
  std::string album;
  std::string artist;
  std::string album_artist;
  std::string genre;
  int year = 0;
  int disc = 0;
  int track_number = 0;
  int64_t duration_ms = 0;
  std::string container;  // "mp3", "flac", "ogg", "mp4", "wav", ...
  std::string codec;      // "mp3", "flac", "vorbis", "opus", "aac", "pcm_s16le", ...
  int bitrate = 0;        // bits per second
  int sample_rate = 0;    // Hz
  int channels = 0;
};

}  // namespace Sonvik::scanner
