#include "package/audio/wav_segment.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <string>
#include <vector>

#include "host/api/cgi_output.h"
#include "package/audio/cgi_writer.h"
#include "package/audio/file_validators.h"
#include "package/audio/pcm_source.h"
#include "package/audio/request_headers.h"
#include "package/audio/response_plan.h"
#include "package/audio/track_segment.h"
#include "package/audio/wav_header.h"

namespace Sonvik::audio {
namespace {

constexpr int kMaxChannels = 8;
constexpr int kChunkSamples = 4096;

std::string Variant(const TrackRecord& track) {
  return "wav-" + std::to_string(track.start_ms) + "-" + std::to_string(track.end_ms);
}

// Sends stream bytes [from, to) of the PCM data, reading the source from where `from` lies.
void SendPcm(PcmSource& source, int block_align, uint64_t from, uint64_t to) {
  std::vector<uint8_t> buffer(static_cast<size_t>(kChunkSamples) * block_align);
  uint8_t* planes[1] = {buffer.data()};
  uint64_t at = from - from % block_align;  // start of the sample holding `from`
  while (at < to) {
    source.Read(planes, kChunkSamples);
    const uint64_t chunk_end = at + buffer.size();
    const uint64_t begin = std::max(at, from) - at;
    const uint64_t end = std::min(chunk_end, to) - at;
    if (!WriteBody(buffer.data() + begin, static_cast<size_t>(end - begin))) return;
    if (std::fflush(stdout) != 0 || !QUOR::OutputStillWanted()) return;
    at = chunk_end;
  }
}

}  // namespace

bool WriteWavSegment(const TrackRecord& track) {
  struct stat status {};
  if (::stat(track.path, &status) != 0 || !S_ISREG(status.st_mode)) return false;

  bool committed = false;
  try {
    PcmSource source(track.path);
    const PcmFormat input = source.SourceFormat();
    const int channels = input.channels > kMaxChannels ? 2 : input.channels;
    if (input.sample_rate <= 0 || channels <= 0) return false;
    source.SetOutputFormat({input.sample_rate, channels, AV_SAMPLE_FMT_S16});
    std::optional<Segment> segment =
        TrackSegment(track, source.DurationSamples(input.sample_rate), input.sample_rate);
    if (!segment) return false;

    const int block_align = channels * 2;
    const uint64_t data_bytes = static_cast<uint64_t>(segment->length()) * block_align;
    if (data_bytes > kMaxWavDataBytes) return false;
    const uint64_t size = kWavHeaderBytes + data_bytes;
    const Validators validators = FileValidators(status, Variant(track));
    const RequestHeaders request = RequestHeaders::FromEnvironment();
    const ResponsePlan plan = PlanResponse(request, validators, size);
    HeaderBlock headers = HeadersForPlan(plan, size, "audio/wav", validators);
    if (request.head || plan.length == 0) {
      headers.Send();
      return true;
    }

    const uint64_t end = plan.first + plan.length;
    const uint64_t data_from = std::max<uint64_t>(plan.first, kWavHeaderBytes) - kWavHeaderBytes;
    source.Seek(segment->start + static_cast<int64_t>(data_from / block_align));
    // Undecodable data must be found out while a 404 can still be answered.
    if (!source.Prime() && data_from == 0) return false;
    committed = true;
    if (!headers.Send()) return true;
    if (plan.first < kWavHeaderBytes) {
      auto header = WavHeader(input.sample_rate, channels, static_cast<uint32_t>(data_bytes));
      uint64_t header_end = std::min<uint64_t>(end, kWavHeaderBytes);
      if (!WriteBody(header.data() + plan.first, static_cast<size_t>(header_end - plan.first))) {
        return true;
      }
    }
    if (end > kWavHeaderBytes) {
      SendPcm(source, block_align, data_from, end - kWavHeaderBytes);
    }
    std::fflush(stdout);
    return true;
  } catch (const std::exception&) {
    return committed;
  }
}

}  // namespace Sonvik::audio
