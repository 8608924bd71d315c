#include "package/audio/wav_header.h"

#include <cstring>

namespace Sonvik::audio {
namespace {

void PutLittle32(uint8_t* at, uint32_t value) {
  for (int i = 0; i < 4; ++i) at[i] = static_cast<uint8_t>(value >> (8 * i));
}
void PutLittle16(uint8_t* at, uint16_t value) {
  at[0] = static_cast<uint8_t>(value);
  at[1] = static_cast<uint8_t>(value >> 8);
}

}  // namespace

std::array<uint8_t, kWavHeaderBytes> WavHeader(int sample_rate, int channels, uint32_t data_bytes) {
  constexpr uint16_t kPcm = 1;
  constexpr uint16_t kBitsPerSample = 16;
  const uint16_t block_align = static_cast<uint16_t>(channels * kBitsPerSample / 8);
  std::array<uint8_t, kWavHeaderBytes> header{};
  uint8_t* p = header.data();
  std::memcpy(p, "RIFF", 4);
  PutLittle32(p + 4, data_bytes + (kWavHeaderBytes - 8));
  std::memcpy(p + 8, "WAVEfmt ", 8);
  PutLittle32(p + 16, 16);
  PutLittle16(p + 20, kPcm);
  PutLittle16(p + 22, static_cast<uint16_t>(channels));
  PutLittle32(p + 24, static_cast<uint32_t>(sample_rate));
  PutLittle32(p + 28, static_cast<uint32_t>(sample_rate) * block_align);
  PutLittle16(p + 32, block_align);
  PutLittle16(p + 34, kBitsPerSample);
  std::memcpy(p + 36, "data", 4);
  PutLittle32(p + 40, data_bytes);
  return header;
}

}  // namespace Sonvik::audio
