#pragma once
// The music library's fixed-size record of one track, filled by QUORMusicGetOneById.
#include <cstdint>

struct TrackRecord {
  int32_t id;
  char path[4096];
  char title[512];
  char album[512];
  char artist[512];
  char album_artist[512];
  char genre[128];
  char container[16];  // "flac", "mp3", "ogg", ...
  char codec[32];      // "flac", "mp3", "vorbis", "pcm_s16le", ...
  int32_t year;
  int32_t disc;
  int32_t track_number;
  int32_t duration_ms;
  int32_t bitrate;      // bits per second
  int32_t sample_rate;  // Hz
  int32_t channels;
  int64_t size;   // bytes of the file
  int64_t mtime;  // seconds since the epoch
  // Virtual tracks (a CUE sheet's entries over one file): the entry's number within its sheet,
  // 0 for a plain file. IsVirtualMusic() reads this field; seek failures log it.
  int32_t virtual_index;
  int64_t start_ms;    // virtual tracks: where the entry starts in its file
  int64_t end_ms;      // virtual tracks: where it ends; 0 = end of file
  uint32_t owner_uid;  // 0 for the shared library, else the personal library's user
};

// Fills `record` with the track whose id is the decimal text `id_text`, as seen by user `uid`
// (the shared library plus the user's personal library when it is switched on). `scope` is "all".
// Answers 0 when the record was filled, a negative value when the track is unknown or the
// library cannot be read. The integer arguments are reserved and passed as 0.
extern "C" int QUORMusicGetOneById(const char* scope, unsigned uid, int reserved1,
                                   TrackRecord* record, int reserved2, const char* id_text);

// Non-zero when a record with this `virtual_index` is a part of a larger file.
extern "C" int IsVirtualMusic(int32_t virtual_index);
