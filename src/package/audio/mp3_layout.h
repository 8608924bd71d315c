#pragma once
// The byte layout of the MP3 streams this package makes: MPEG-1 Layer III at 48 kHz, constant
// bit rate, no bit reservoir, no ID3 or Xing header. At 48 kHz every MPEG-1 bit rate gives frames
// of a whole number of bytes and never a padding byte, so each frame has the same size (384 bytes
// at 128 kbit/s) and holds 1152 samples (24 ms): the length of a stream is known before it is
// encoded, and byte N lies in frame N / frame_bytes, which starts at that frame's time.
#include <cstdint>

namespace Sonvik::audio {

inline constexpr int kMp3SampleRate = 48000;
inline constexpr int kMp3FrameSamples = 1152;

// Bytes of one frame at `bit_rate` bits per second; 0 when MPEG-1 Layer III has no such rate.
int Mp3FrameBytes(int64_t bit_rate);

// Frames that cover `samples` samples at 48 kHz (the last one partly silence).
int64_t Mp3FrameCount(int64_t samples);

}  // namespace Sonvik::audio
