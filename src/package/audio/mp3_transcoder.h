#pragma once
// A track (or a virtual track's segment) as an MP3 answer with exact length and byte ranges.
#include <cstdint>

#include "package/library/track_record.h"

namespace Sonvik::audio {

// Writes the header block and the stream on stdout. False, with nothing written, when the track
// cannot be transcoded (unknown bit rate, no decodable audio, unknown length). Once the header
// block is out the answer is committed: a later failure only cuts the body short (true).
bool TranscodeToMp3(const TrackRecord& track, int64_t bit_rate);

}  // namespace Sonvik::audio
