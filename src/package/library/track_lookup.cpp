#include "package/library/track_record.h"

// Placeholder until the library database lands: no track is known.
extern "C" int QUORMusicGetOneById(const char*, unsigned, int, TrackRecord*, int, const char*) {
  return -1;
}

extern "C" int IsVirtualMusic(int32_t virtual_index) { return virtual_index > 0 ? 1 : 0; }
