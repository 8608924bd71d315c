#pragma once
// Writing audio as the CGI answer of a request (C stdio stdout).
#include <cstdint>

#include "package/library/track_record.h"

// Writes a virtual track's segment as WAV with exact length (ranges honoured). 0 on success.
extern "C" int QUORAudioSeekSong(const TrackRecord* record, int flags);
// Transcodes the track (or a virtual track's segment) to `format` ("mp3") at `bitrate` bits per
// second and writes "Content-Type: audio/mpeg", the rest of the header and the stream as it is
// produced. 0 on success.
extern "C" int QUORAudioTranscodeSong(const TrackRecord* record, const char* format, int reserved1,
                                      int reserved2, int64_t bitrate);
// Non-zero when a file with this path's extension can be transcoded.
extern "C" int QUORAudioWebapiUtilsIsSupportTranscodingByFileExtension(const char* path);

// Writes a file as the rest of an HTTP answer: Content-Type by extension, Content-Length,
// Last-Modified, ETag, one byte range (206/416) and HEAD, then the body.
class HTTPFileOutputer {
 public:
  // `content_type` overrides the type chosen by extension when not null. -1 on failure.
  int Output(const char* path, const char* content_type);
};
