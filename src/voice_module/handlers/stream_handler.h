#pragma once
// The `stream` and `transcode` methods: a track's file, or its MP3 transcode, as the raw answer.
#include "host/api/base_handler.h"
#include "package/library/track_record.h"

namespace Sonvik {

class StreamHandler : public QUOR::BaseHandler {
 public:
  StreamHandler(QUOR::APIRequest* request, QUOR::APIResponse* response);

  // Loads the track and checks that its file is a regular file. On false the failure is logged;
  // when the file was the problem the record is cleared.
  bool SetTrackById(int id);
  // Writes the track: a virtual track as its segment, a plain file as it is. False only when a
  // virtual track could not be sought (nothing of the answer written yet but "Accept-Ranges").
  bool Stream();
  // Writes the track as MP3 at 128 kbit/s. False, with nothing written, when it cannot be done.
  bool Transcode();

  // Writes `path` as the rest of the answer, reading it as "root". False (logged) on failure.
  static bool OutputFile(const char* path);

 private:
  unsigned login_uid_;
  TrackRecord track_;
};

// The shared failure answer: "Cache-control: no-store", "Status: 404 Not Found", blank line.
int Output404NotFound();

}  // namespace Sonvik
