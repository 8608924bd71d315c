#include "package/audio/mp3_transcoder.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>

#include "host/api/cgi_output.h"
#include "package/audio/cgi_writer.h"
#include "package/audio/file_validators.h"
#include "package/audio/mp3_encoder.h"
#include "package/audio/mp3_layout.h"
#include "package/audio/pcm_source.h"
#include "package/audio/request_headers.h"
#include "package/audio/response_plan.h"
#include "package/audio/track_segment.h"
#include "package/ffmpeg/types.h"

namespace Sonvik::audio {
namespace {

// Output goes out after the first frame (a player starts at once), then every this many frames.
constexpr int64_t kFramesPerFlush = 16;
// The encoder lags its input by about one frame; this many inputs without output means trouble.
constexpr int64_t kMaxSilentInputs = 8;

// Where the answer's bytes lie in the stream, in whole frames of frame_bytes.
struct FrameWindow {
  int64_t first_frame;  // frame holding the first byte sent
  int64_t end_frame;    // one past the frame holding the last byte sent
  uint64_t first_byte;  // stream offset of the first byte sent
  uint64_t end_byte;    // stream offset one past the last byte sent
};

class Mp3Stream {
 public:
  Mp3Stream(PcmSource& source, Mp3Encoder& encoder, const Segment& segment, int frame_bytes,
            const FrameWindow& window)
      : source_(source),
        encoder_(encoder),
        frame_bytes_(frame_bytes),
        window_(window),
        // The encoder's first frames carry its delay; dropping whole frames of it and feeding
        // the remainder from before the wanted start puts stream frame k exactly at sample
        // k * 1152 of the track, however the answer starts.
        dropped_frames_((encoder.delay() + kMp3FrameSamples - 1) / kMp3FrameSamples) {
    int64_t lead = int64_t{dropped_frames_} * kMp3FrameSamples - encoder.delay();
    int64_t begin = window.first_frame * kMp3FrameSamples - lead;  // within the segment
    silence_left_ = begin < 0 ? -begin : 0;
    begin = std::max<int64_t>(begin, 0);
    audio_left_ = std::max<int64_t>(segment.length() - begin, 0);
    source.Seek(segment.start + begin);
  }

  // Encodes and writes until the window is sent, the peer leaves or stdout fails.
  void Run() {
    ffmpeg::Packet packet = ffmpeg::MakePacket();
    const int64_t wanted = dropped_frames_ + (window_.end_frame - window_.first_frame);
    int64_t inputs = 0;
    while (received_ < wanted) {
      if (inputs++ > wanted + kMaxSilentInputs) return;
      FillInput();
      encoder_.Send();
      while (received_ < wanted && encoder_.Receive(packet.get())) {
        bool ok = Emit(*packet);
        av_packet_unref(packet.get());
        if (!ok) return;
      }
    }
    std::fflush(stdout);
  }

 private:
  // One input frame: leading silence, then the segment's audio, then silence past its end.
  void FillInput() {
    AVFrame* frame = encoder_.input();
    const int channels = frame->ch_layout.nb_channels;
    int at = 0;
    if (silence_left_ > 0) {
      int count = static_cast<int>(std::min<int64_t>(silence_left_, kMp3FrameSamples));
      av_samples_set_silence(frame->extended_data, 0, count, channels, AV_SAMPLE_FMT_FLTP);
      silence_left_ -= count;
      at = count;
    }
    int count = static_cast<int>(std::min<int64_t>(audio_left_, kMp3FrameSamples - at));
    if (count > 0) {
      uint8_t* planes[AV_NUM_DATA_POINTERS] = {};
      for (int c = 0; c < channels; ++c) {
        planes[c] = frame->extended_data[c] + at * static_cast<int>(sizeof(float));
      }
      source_.Read(planes, count);
      audio_left_ -= count;
      at += count;
    }
    if (at < kMp3FrameSamples) {
      av_samples_set_silence(frame->extended_data, at, kMp3FrameSamples - at, channels,
                             AV_SAMPLE_FMT_FLTP);
    }
  }

  bool Emit(const AVPacket& packet) {
    const int64_t index = received_++;
    // A frame of another size would break every offset announced; stop rather than lie.
    if (packet.size != frame_bytes_) return false;
    if (index < dropped_frames_) return true;
    const int64_t frame = window_.first_frame + (index - dropped_frames_);
    const uint64_t frame_start = static_cast<uint64_t>(frame) * static_cast<uint64_t>(frame_bytes_);
    const uint64_t from = std::max(window_.first_byte, frame_start) - frame_start;
    const uint64_t to = std::min<uint64_t>(window_.end_byte - frame_start, frame_bytes_);
    if (!WriteBody(packet.data + from, static_cast<size_t>(to - from))) return false;
    ++sent_frames_;
    if (sent_frames_ == 1 || sent_frames_ % kFramesPerFlush == 0) {
      if (std::fflush(stdout) != 0 || !QUOR::OutputStillWanted()) return false;
    }
    return true;
  }

  PcmSource& source_;
  Mp3Encoder& encoder_;
  const int frame_bytes_;
  const FrameWindow window_;
  const int dropped_frames_;
  int64_t silence_left_ = 0;
  int64_t audio_left_ = 0;
  int64_t received_ = 0;
  int64_t sent_frames_ = 0;
};

std::string Variant(const TrackRecord& track, int64_t bit_rate) {
  return "mp3-" + std::to_string(bit_rate) + "-" + std::to_string(track.start_ms) + "-" +
         std::to_string(track.end_ms);
}

}  // namespace

bool TranscodeToMp3(const TrackRecord& track, int64_t bit_rate) {
  const int frame_bytes = Mp3FrameBytes(bit_rate);
  if (frame_bytes == 0) return false;
  struct stat status {};
  if (::stat(track.path, &status) != 0 || !S_ISREG(status.st_mode)) return false;

  bool committed = false;
  try {
    PcmSource source(track.path);
    const int channels = source.SourceFormat().channels >= 2 ? 2 : 1;
    source.SetOutputFormat({kMp3SampleRate, channels, AV_SAMPLE_FMT_FLTP});
    std::optional<Segment> segment =
        TrackSegment(track, source.DurationSamples(kMp3SampleRate), kMp3SampleRate);
    if (!segment) return false;

    const uint64_t size = static_cast<uint64_t>(Mp3FrameCount(segment->length())) *
                          static_cast<uint64_t>(frame_bytes);
    const Validators validators = FileValidators(status, Variant(track, bit_rate));
    const RequestHeaders request = RequestHeaders::FromEnvironment();
    const ResponsePlan plan = PlanResponse(request, validators, size);
    HeaderBlock headers = HeadersForPlan(plan, size, "audio/mpeg", validators);
    headers.Add("Accept-Ranges", "bytes");
    if (request.head || plan.length == 0) {
      headers.Send();
      return true;
    }

    Mp3Encoder encoder(bit_rate, channels);
    const uint64_t end_byte = plan.first + plan.length;
    const FrameWindow window{static_cast<int64_t>(plan.first / frame_bytes),
                             static_cast<int64_t>((end_byte + frame_bytes - 1) / frame_bytes),
                             plan.first, end_byte};
    Mp3Stream stream(source, encoder, *segment, frame_bytes, window);
    // Undecodable data must be found out while a 404 can still be answered.
    if (!source.Prime() && window.first_frame == 0) return false;
    committed = true;
    if (!headers.Send()) return true;
    stream.Run();
    return true;
  } catch (const std::exception&) {
    return committed;
  }
}

}  // namespace Sonvik::audio
