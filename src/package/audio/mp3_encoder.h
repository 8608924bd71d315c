#pragma once
// libmp3lame through libavcodec, set up for the fixed frame layout of mp3_layout.h: constant bit
// rate, 48 kHz, bit reservoir off (every frame carries all of its own bits).
#include <cstdint>

#include "package/ffmpeg/types.h"

namespace Sonvik::audio {

class Mp3Encoder {
 public:
  // Throws ffmpeg::Error when the encoder is missing or refuses the settings.
  Mp3Encoder(int64_t bit_rate, int channels);

  // Samples of silence and lead-in the encoder puts before the first input sample.
  int delay() const { return context_->initial_padding; }
  // The next input: kMp3FrameSamples planar float samples per channel, to be filled.
  AVFrame* input() { return input_.get(); }
  // Encodes input(); then Receive() hands out the frames that are ready.
  void Send();
  // One encoded MP3 frame in `packet`; false when none is ready yet.
  bool Receive(AVPacket* packet);

 private:
  ffmpeg::CodecContext context_;
  ffmpeg::Frame input_;
  int64_t next_pts_ = 0;
};

}  // namespace Sonvik::audio
