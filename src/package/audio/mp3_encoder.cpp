#include "package/audio/mp3_encoder.h"

#include <new>

#include "package/audio/mp3_layout.h"
#include "package/ffmpeg/error.h"

namespace Sonvik::audio {

using ffmpeg::Check;

Mp3Encoder::Mp3Encoder(int64_t bit_rate, int channels) {
  const AVCodec* codec = avcodec_find_encoder_by_name("libmp3lame");
  if (codec == nullptr) throw ffmpeg::Error("no MP3 encoder", AVERROR_ENCODER_NOT_FOUND);
  context_.reset(avcodec_alloc_context3(codec));
  if (!context_) throw std::bad_alloc();
  context_->bit_rate = bit_rate;
  context_->sample_rate = kMp3SampleRate;
  context_->sample_fmt = AV_SAMPLE_FMT_FLTP;
  context_->time_base = AVRational{1, kMp3SampleRate};
  av_channel_layout_default(&context_->ch_layout, channels);
  ffmpeg::Dictionary options;
  options.Set("reservoir", int64_t{0});
  Check(avcodec_open2(context_.get(), codec, options.address()), "open MP3 encoder");
  if (context_->frame_size != kMp3FrameSamples) {
    throw ffmpeg::Error("unexpected MP3 frame size", AVERROR_BUG);
  }

  input_ = ffmpeg::MakeFrame();
  input_->nb_samples = kMp3FrameSamples;
  input_->format = AV_SAMPLE_FMT_FLTP;
  input_->sample_rate = kMp3SampleRate;
  Check(av_channel_layout_copy(&input_->ch_layout, &context_->ch_layout), "channel layout");
  Check(av_frame_get_buffer(input_.get(), 0), "frame buffer");
}

void Mp3Encoder::Send() {
  input_->pts = next_pts_;
  next_pts_ += kMp3FrameSamples;
  Check(avcodec_send_frame(context_.get(), input_.get()), "encode");
  // The encoder may keep a reference to the samples; the next fill needs its own buffer.
  Check(av_frame_make_writable(input_.get()), "frame buffer");
}

bool Mp3Encoder::Receive(AVPacket* packet) {
  int result = avcodec_receive_packet(context_.get(), packet);
  if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) return false;
  Check(result, "encode");
  return true;
}

}  // namespace Sonvik::audio
