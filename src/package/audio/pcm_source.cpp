#include "package/audio/pcm_source.h"

#include <algorithm>
#include <mutex>
#include <new>
#include <vector>

extern "C" {
#include <libavutil/log.h>
#include <libavutil/samplefmt.h>
}

#include "package/ffmpeg/error.h"

namespace Sonvik::audio {
namespace {

using ffmpeg::Check;

// Resource caps: a hostile file must not make a worker read, allocate or decode without bound.
constexpr int64_t kProbeBytes = 1 << 20;
constexpr int64_t kAnalyzeMicroseconds = 2 * 1000 * 1000;
constexpr int64_t kMaxSamplesPerFrame = 1 << 20;
constexpr int64_t kMaxStreams = 64;
// This many undecodable packets in a row end the audio.
constexpr int kMaxCorruptPackets = 256;
// A first timestamp further than this past the wanted position is not believed.
constexpr int64_t kMaxTimestampGapSeconds = 10;
// Seeking lands this much early so decoders that need lead-in (Vorbis, Opus, AAC) settle.
constexpr int64_t kSeekLeadInMilliseconds = 200;

void QuietLibraryLog() {
  // Damaged files would otherwise fill the server's stderr with decoder complaints.
  static std::once_flag once;
  std::call_once(once, [] { av_log_set_level(AV_LOG_FATAL); });
}

int64_t StartTimestamp(const AVStream* stream) {
  return stream->start_time == AV_NOPTS_VALUE ? 0 : stream->start_time;
}

}  // namespace

PcmSource::PcmSource(const std::string& path) {
  QuietLibraryLog();
  ffmpeg::Dictionary options;
  options.Set("probesize", kProbeBytes);
  options.Set("analyzeduration", kAnalyzeMicroseconds);
  options.Set("max_streams", kMaxStreams);
  AVFormatContext* opened = nullptr;
  Check(avformat_open_input(&opened, path.c_str(), nullptr, options.address()), "open");
  input_.reset(opened);
  Check(avformat_find_stream_info(input_.get(), nullptr), "stream info");
  int index = Check(av_find_best_stream(input_.get(), AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0),
                    "audio stream");
  for (unsigned i = 0; i < input_->nb_streams; ++i) {
    input_->streams[i]->discard = static_cast<int>(i) == index ? AVDISCARD_DEFAULT : AVDISCARD_ALL;
  }
  stream_ = input_->streams[index];

  const AVCodec* codec = avcodec_find_decoder(stream_->codecpar->codec_id);
  if (codec == nullptr) throw ffmpeg::Error("no decoder", AVERROR_DECODER_NOT_FOUND);
  decoder_.reset(avcodec_alloc_context3(codec));
  if (!decoder_) throw std::bad_alloc();
  Check(avcodec_parameters_to_context(decoder_.get(), stream_->codecpar), "decoder parameters");
  decoder_->pkt_timebase = stream_->time_base;
  decoder_->max_samples = kMaxSamplesPerFrame;
  // Decoding runs a frame ahead on a second thread, beside the encoder, as the ffmpeg command
  // line does; never more than that, so one request cannot take over the machine.
  decoder_->thread_count = 2;
  decoder_->thread_type = FF_THREAD_FRAME;
  Check(avcodec_open2(decoder_.get(), codec, nullptr), "open decoder");
  frame_ = ffmpeg::MakeFrame();
  packet_ = ffmpeg::MakePacket();
}

PcmSource::~PcmSource() {
  av_channel_layout_uninit(&output_layout_);
  av_channel_layout_uninit(&resampler_layout_);
}

PcmFormat PcmSource::SourceFormat() const {
  return {decoder_->sample_rate, decoder_->ch_layout.nb_channels, decoder_->sample_fmt};
}

int64_t PcmSource::DurationSamples(int sample_rate) const {
  const AVRational rate{1, sample_rate};
  if (stream_->duration != AV_NOPTS_VALUE && stream_->duration > 0) {
    return av_rescale_q(stream_->duration, stream_->time_base, rate);
  }
  if (input_->duration != AV_NOPTS_VALUE && input_->duration > 0) {
    return av_rescale_q(input_->duration, AV_TIME_BASE_Q, rate);
  }
  return -1;
}

void PcmSource::SetOutputFormat(const PcmFormat& format) {
  output_ = format;
  av_channel_layout_uninit(&output_layout_);
  av_channel_layout_default(&output_layout_, format.channels);
  fifo_.reset(av_audio_fifo_alloc(format.sample_format, format.channels, 4096));
  if (!fifo_) throw std::bad_alloc();
}

void PcmSource::Seek(int64_t position) {
  target_ = position;
  if (position <= 0) return;
  const AVRational rate{1, output_.sample_rate};
  int64_t lead_in = av_rescale(kSeekLeadInMilliseconds, output_.sample_rate, 1000);
  int64_t from = std::max<int64_t>(0, position - lead_in);
  int64_t timestamp = av_rescale_q(from, rate, stream_->time_base) + StartTimestamp(stream_);
  // When the container cannot seek, reading goes on from the start and drops what comes early.
  if (av_seek_frame(input_.get(), stream_->index, timestamp, AVSEEK_FLAG_BACKWARD) >= 0) {
    avcodec_flush_buffers(decoder_.get());
  }
}

bool PcmSource::Prime() {
  while (av_audio_fifo_size(fifo_.get()) == 0) {
    if (!DecodeMore()) return false;
  }
  return true;
}

int PcmSource::Read(uint8_t* const* planes, int count) {
  const bool planar = av_sample_fmt_is_planar(output_.sample_format) != 0;
  const int plane_count = planar ? output_.channels : 1;
  const int sample_bytes =
      av_get_bytes_per_sample(output_.sample_format) * (planar ? 1 : output_.channels);
  std::vector<void*> cursor(static_cast<size_t>(plane_count));
  int done = 0;
  while (done < count) {
    int ready = av_audio_fifo_size(fifo_.get());
    if (ready == 0) {
      if (!DecodeMore()) break;
      continue;
    }
    int take = std::min(ready, count - done);
    for (int p = 0; p < plane_count; ++p) cursor[p] = planes[p] + done * sample_bytes;
    av_audio_fifo_read(fifo_.get(), cursor.data(), take);
    done += take;
    target_ += take;
  }
  if (done < count) {
    av_samples_set_silence(const_cast<uint8_t**>(planes), done, count - done, output_.channels,
                           output_.sample_format);
    target_ += count - done;
  }
  return done;
}

bool PcmSource::DecodeMore() {
  while (true) {
    int result = avcodec_receive_frame(decoder_.get(), frame_.get());
    if (result >= 0) {
      Deliver(frame_.get());
      av_frame_unref(frame_.get());
      return true;
    }
    if (result != AVERROR(EAGAIN)) {
      // End of stream (or a decoder that gave up): hand over what the resampler still holds.
      if (decoder_done_) return false;
      decoder_done_ = true;
      if (resampler_) Convert(nullptr);
      DropBeforeTarget();
      return true;
    }
    if (demuxer_done_) {
      // Draining was already asked for; a decoder still answering EAGAIN has nothing more.
      decoder_done_ = true;
      return false;
    }
    result = av_read_frame(input_.get(), packet_.get());
    if (result < 0) {
      demuxer_done_ = true;
      avcodec_send_packet(decoder_.get(), nullptr);
      continue;
    }
    if (packet_->stream_index == stream_->index) {
      result = avcodec_send_packet(decoder_.get(), packet_.get());
      corrupt_packets_ = result < 0 ? corrupt_packets_ + 1 : 0;
    }
    av_packet_unref(packet_.get());
    if (corrupt_packets_ > kMaxCorruptPackets) {
      demuxer_done_ = true;
      avcodec_send_packet(decoder_.get(), nullptr);
    }
  }
}

void PcmSource::Deliver(const AVFrame* frame) {
  if (!synced_) {
    // The first frame after opening or seeking fixes where the timeline stands.
    int64_t position = target_;
    if (frame->best_effort_timestamp != AV_NOPTS_VALUE) {
      position = av_rescale_q(frame->best_effort_timestamp - StartTimestamp(stream_),
                              stream_->time_base, AVRational{1, output_.sample_rate});
    }
    int64_t gap = position - target_;
    if (gap > int64_t{output_.sample_rate} * kMaxTimestampGapSeconds) {
      position = target_;
    } else if (gap > 0) {
      // Audio starts later than wanted: the missing stretch is silence.
      std::vector<uint8_t> silence;
      uint8_t* planes[AV_NUM_DATA_POINTERS] = {};
      int chunk = static_cast<int>(std::min<int64_t>(gap, 4096));
      int size =
          av_samples_get_buffer_size(nullptr, output_.channels, chunk, output_.sample_format, 1);
      silence.resize(static_cast<size_t>(size));
      av_samples_fill_arrays(planes, nullptr, silence.data(), output_.channels, chunk,
                             output_.sample_format, 1);
      av_samples_set_silence(planes, 0, chunk, output_.channels, output_.sample_format);
      for (int64_t left = gap; left > 0; left -= chunk) {
        av_audio_fifo_write(fifo_.get(), reinterpret_cast<void**>(planes),
                            static_cast<int>(std::min<int64_t>(left, chunk)));
      }
    }
    next_position_ = position;
    synced_ = true;
  }
  Convert(frame);
  DropBeforeTarget();
}

void PcmSource::SetUpResampler(const AVFrame* frame) {
  AVChannelLayout input_layout{};
  if (frame->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC) {
    av_channel_layout_default(&input_layout, frame->ch_layout.nb_channels);
  } else {
    Check(av_channel_layout_copy(&input_layout, &frame->ch_layout), "channel layout");
  }
  SwrContext* context = nullptr;
  int result = swr_alloc_set_opts2(
      &context, &output_layout_, output_.sample_format, output_.sample_rate, &input_layout,
      static_cast<AVSampleFormat>(frame->format), frame->sample_rate, 0, nullptr);
  resampler_.reset(context);
  av_channel_layout_uninit(&resampler_layout_);
  resampler_layout_ = input_layout;
  Check(result, "resampler");
  Check(swr_init(resampler_.get()), "resampler");
  resampler_rate_ = frame->sample_rate;
  resampler_format_ = frame->format;
}

void PcmSource::Convert(const AVFrame* frame) {
  if (frame != nullptr &&
      (!resampler_ || frame->sample_rate != resampler_rate_ || frame->format != resampler_format_ ||
       frame->ch_layout.nb_channels != resampler_layout_.nb_channels)) {
    SetUpResampler(frame);
  }
  const int input_samples = frame == nullptr ? 0 : frame->nb_samples;
  uint8_t* planes[AV_NUM_DATA_POINTERS] = {};
  while (true) {
    int capacity = swr_get_out_samples(resampler_.get(), input_samples);
    if (capacity <= 0) return;
    int size =
        av_samples_get_buffer_size(nullptr, output_.channels, capacity, output_.sample_format, 1);
    Check(size, "sample buffer");
    if (converted_.size() < static_cast<size_t>(size)) converted_.resize(static_cast<size_t>(size));
    av_samples_fill_arrays(planes, nullptr, converted_.data(), output_.channels, capacity,
                           output_.sample_format, 1);
    int made =
        swr_convert(resampler_.get(), planes, capacity,
                    frame == nullptr ? nullptr : const_cast<const uint8_t**>(frame->extended_data),
                    input_samples);
    Check(made, "resample");
    if (made > 0) {
      av_audio_fifo_write(fifo_.get(), reinterpret_cast<void**>(planes), made);
      next_position_ += made;
    }
    // A frame goes through in one call; a flush repeats until the resampler is empty.
    if (frame != nullptr || made == 0) return;
  }
}

void PcmSource::DropBeforeTarget() {
  int64_t queued = av_audio_fifo_size(fifo_.get());
  int64_t head = next_position_ - queued;
  if (head < target_) {
    av_audio_fifo_drain(fifo_.get(), static_cast<int>(std::min(queued, target_ - head)));
  }
}

}  // namespace Sonvik::audio
