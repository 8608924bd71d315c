// The package's C entry points for audio output; nothing thrown inside gets past them.
#include <strings.h>

#include <exception>

#include "package/audio/audio_output.h"
#include "package/audio/mp3_transcoder.h"
#include "package/audio/transcodable_extensions.h"
#include "package/audio/wav_segment.h"

extern "C" int QUORAudioSeekSong(const TrackRecord* record, int) {
  if (record == nullptr) return -1;
  try {
    return Sonvik::audio::WriteWavSegment(*record) ? 0 : -1;
  } catch (const std::exception&) {
    return -1;
  }
}

extern "C" int QUORAudioTranscodeSong(const TrackRecord* record, const char* format, int, int,
                                      int64_t bitrate) {
  if (record == nullptr || format == nullptr || ::strcasecmp(format, "mp3") != 0) return -1;
  try {
    return Sonvik::audio::TranscodeToMp3(*record, bitrate) ? 0 : -1;
  } catch (const std::exception&) {
    return -1;
  }
}

extern "C" int QUORAudioWebapiUtilsIsSupportTranscodingByFileExtension(const char* path) {
  return path != nullptr && Sonvik::audio::IsTranscodableExtension(path) ? 1 : 0;
}
