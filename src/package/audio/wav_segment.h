#pragma once
// A track's stretch of its file (a virtual track's segment) as a WAV answer with exact length.
#include "package/library/track_record.h"

namespace Sonvik::audio {

// 16-bit PCM at the source's rate and channel count (more than 8 channels are mixed to stereo);
// byte ranges honoured. False, with nothing written, when the audio cannot be decoded or its
// length is unknown; true once the header block is out.
bool WriteWavSegment(const TrackRecord& track);

}  // namespace Sonvik::audio
