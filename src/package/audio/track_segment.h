#pragma once
// Which stretch of its file a track record stands for.
#include <cstdint>
#include <optional>

#include "package/library/track_record.h"

namespace Sonvik::audio {

struct Segment {
  int64_t start = 0;  // first sample
  int64_t end = 0;    // one past the last sample
  int64_t length() const { return end - start; }
};

// In samples at `sample_rate`: the whole audio for a plain track; start_ms..end_ms for a virtual
// one (end 0: to the end of the audio; an end past the audio is cut there). `duration_samples`
// is the audio's length from the container, -1 when unknown (the record's duration stands in).
// nullopt when the stretch is empty or its end cannot be known.
std::optional<Segment> TrackSegment(const TrackRecord& record, int64_t duration_samples,
                                    int sample_rate);

}  // namespace Sonvik::audio
