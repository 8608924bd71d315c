#include "package/audio/track_segment.h"

#include <algorithm>

namespace Sonvik::audio {
namespace {

int64_t MillisecondsToSamples(int64_t milliseconds, int sample_rate) {
  // Rounded to the nearest sample; milliseconds of a CUE sheet never come near overflow.
  return (milliseconds * sample_rate + 500) / 1000;
}

}  // namespace

std::optional<Segment> TrackSegment(const TrackRecord& record, int64_t duration_samples,
                                    int sample_rate) {
  if (sample_rate <= 0) return std::nullopt;
  int64_t total = duration_samples;
  if (total < 0 && record.duration_ms > 0 && record.virtual_index <= 0) {
    total = MillisecondsToSamples(record.duration_ms, sample_rate);
  }
  Segment segment;
  if (record.virtual_index > 0) {
    if (record.start_ms < 0 || record.end_ms < 0) return std::nullopt;
    segment.start = MillisecondsToSamples(record.start_ms, sample_rate);
    if (record.end_ms > 0) {
      segment.end = MillisecondsToSamples(record.end_ms, sample_rate);
      if (total >= 0) segment.end = std::min(segment.end, total);
    } else {
      segment.end = total;
    }
  } else {
    segment.end = total;
  }
  if (segment.end <= segment.start) return std::nullopt;
  return segment;
}

}  // namespace Sonvik::audio
