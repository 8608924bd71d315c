#pragma once
// Decoded audio of one file as a sample-exact timeline: seek to any sample, then read PCM in the
// format the caller asks for, with silence after the end.
#include <cstdint>
#include <string>
#include <vector>

#include "package/ffmpeg/types.h"

namespace Sonvik::audio {

struct PcmFormat {
  int sample_rate = 0;
  int channels = 0;
  AVSampleFormat sample_format = AV_SAMPLE_FMT_NONE;
};

class PcmSource {
 public:
  // Opens `path` and its best audio stream under resource caps (bounded probing, a ceiling on
  // samples per decoded frame). Throws ffmpeg::Error when there is no decodable audio stream.
  explicit PcmSource(const std::string& path);
  PcmSource(const PcmSource&) = delete;
  PcmSource& operator=(const PcmSource&) = delete;
  ~PcmSource();

  // The stream's own rate and channel count.
  PcmFormat SourceFormat() const;
  // Length of the audio in samples at `sample_rate`, as the container states it; -1 unknown.
  int64_t DurationSamples(int sample_rate) const;

  // Fixes what Read() delivers (interleaved or planar, any rate; channels are mixed as needed).
  void SetOutputFormat(const PcmFormat& format);
  // Makes `position` (in output samples from the start of the audio) the next sample read.
  // Must be called once, before the first Read.
  void Seek(int64_t position);
  // Decodes until samples are ready; false when the file yields no audio at all from here
  // (damaged data, or a position past the end).
  bool Prime();
  // Writes exactly `count` samples to `planes` (one pointer per plane, or one for interleaved
  // formats), padding with silence past the end. Answers how many were real audio.
  int Read(uint8_t* const* planes, int count);

 private:
  bool DecodeMore();
  void Convert(const AVFrame* frame);
  void Deliver(const AVFrame* frame);
  void DropBeforeTarget();
  void SetUpResampler(const AVFrame* frame);

  ffmpeg::FormatContext input_;
  ffmpeg::CodecContext decoder_;
  ffmpeg::ResampleContext resampler_;
  ffmpeg::AudioFifo fifo_;
  ffmpeg::Frame frame_;
  ffmpeg::Packet packet_;
  std::vector<uint8_t> converted_;  // the resampler's output before it joins the FIFO
  AVStream* stream_ = nullptr;
  PcmFormat output_;
  AVChannelLayout output_layout_{};
  // The input format the resampler was built for; a change mid-stream rebuilds it.
  int resampler_rate_ = 0;
  int resampler_format_ = -1;
  AVChannelLayout resampler_layout_{};

  int64_t target_ = 0;         // output position the caller wants next
  int64_t next_position_ = 0;  // output position of the sample after the FIFO's last
  bool synced_ = false;        // next_position_ known from a decoded frame's timestamp
  bool demuxer_done_ = false;
  bool decoder_done_ = false;
  int corrupt_packets_ = 0;
};

}  // namespace Sonvik::audio
