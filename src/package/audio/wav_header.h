#pragma once
// The 44-byte header of a canonical PCM WAV file (RIFF, "fmt " chunk of 16 bytes, "data").
#include <array>
#include <cstdint>

namespace Sonvik::audio {

inline constexpr int kWavHeaderBytes = 44;

// 16-bit little-endian PCM; `data_bytes` must leave the RIFF size within 32 bits.
std::array<uint8_t, kWavHeaderBytes> WavHeader(int sample_rate, int channels, uint32_t data_bytes);

// The largest data chunk a WAV header can state.
inline constexpr uint64_t kMaxWavDataBytes = 0xFFFFFFFFull - (kWavHeaderBytes - 8);

}  // namespace Sonvik::audio
