#include "package/audio/mp3_layout.h"

namespace Sonvik::audio {

int Mp3FrameBytes(int64_t bit_rate) {
  constexpr int64_t kRates[] = {32000,  40000,  48000,  56000,  64000,  80000,  96000,
                                112000, 128000, 160000, 192000, 224000, 256000, 320000};
  for (int64_t rate : kRates) {
    // 1152 samples / 8 bits per byte = 144 bytes per bit/s per Hz.
    if (rate == bit_rate) return static_cast<int>(144 * rate / kMp3SampleRate);
  }
  return 0;
}

int64_t Mp3FrameCount(int64_t samples) {
  if (samples <= 0) return 0;
  return (samples + kMp3FrameSamples - 1) / kMp3FrameSamples;
}

}  // namespace Sonvik::audio
