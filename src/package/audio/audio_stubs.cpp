#include "package/audio/audio_output.h"

// Placeholders until transcoding and virtual-track output land.
extern "C" int QUORAudioSeekSong(const TrackRecord*, int) { return -1; }
extern "C" int QUORAudioTranscodeSong(const TrackRecord*, const char*, int, int, int64_t) {
  return -1;
}
extern "C" int QUORAudioWebapiUtilsIsSupportTranscodingByFileExtension(const char*) { return 0; }
