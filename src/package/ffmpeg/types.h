#pragma once
// Move-only owners of FFmpeg's objects; each frees with the library's own function.
#include <memory>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/audio_fifo.h>
#include <libavutil/dict.h>
#include <libavutil/frame.h>
#include <libswresample/swresample.h>
}

namespace Sonvik::ffmpeg {

struct FormatContextFree {
  void operator()(AVFormatContext* context) const { avformat_close_input(&context); }
};
struct CodecContextFree {
  void operator()(AVCodecContext* context) const { avcodec_free_context(&context); }
};
struct FrameFree {
  void operator()(AVFrame* frame) const { av_frame_free(&frame); }
};
struct PacketFree {
  void operator()(AVPacket* packet) const { av_packet_free(&packet); }
};
struct SwrContextFree {
  void operator()(SwrContext* context) const { swr_free(&context); }
};
struct AudioFifoFree {
  void operator()(AVAudioFifo* fifo) const { av_audio_fifo_free(fifo); }
};

// An opened input (avformat_open_input), closed with avformat_close_input.
using FormatContext = std::unique_ptr<AVFormatContext, FormatContextFree>;
using CodecContext = std::unique_ptr<AVCodecContext, CodecContextFree>;
using Frame = std::unique_ptr<AVFrame, FrameFree>;
using Packet = std::unique_ptr<AVPacket, PacketFree>;
using ResampleContext = std::unique_ptr<SwrContext, SwrContextFree>;
using AudioFifo = std::unique_ptr<AVAudioFifo, AudioFifoFree>;

// Options handed to an opening call; whatever the call leaves unused is freed with it.
class Dictionary {
 public:
  Dictionary() = default;
  Dictionary(const Dictionary&) = delete;
  Dictionary& operator=(const Dictionary&) = delete;
  ~Dictionary() { av_dict_free(&dictionary_); }

  void Set(const char* key, const char* value) { av_dict_set(&dictionary_, key, value, 0); }
  void Set(const char* key, int64_t value) { av_dict_set_int(&dictionary_, key, value, 0); }
  AVDictionary** address() { return &dictionary_; }

 private:
  AVDictionary* dictionary_ = nullptr;
};

// Allocators that throw std::bad_alloc instead of answering null.
Frame MakeFrame();
Packet MakePacket();

}  // namespace Sonvik::ffmpeg
