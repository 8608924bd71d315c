#pragma once
// The `get_cover` method: a track's embedded picture, else its folder's picture, as the raw answer.
#include <string>

#include "host/api/base_handler.h"
#include "package/cover/cover_library.h"

namespace Sonvik {

class CoverHandler : public QUOR::BaseHandler {
 public:
  CoverHandler(QUOR::APIRequest* request, QUOR::APIResponse* response);

  // The track's file path; empty when the library does not know the track.
  std::string GetTrackPath(int id);
  // True when a picture was found; cover_path() then names it. Unknown tracks are logged.
  bool GetCoverPathByTrackId(int id);

  const std::string& cover_path() const { return cover_path_; }

 private:
  std::string cover_path_;
  unsigned login_uid_;
  webapi::cover::CoverLibrary cover_library_;
};

}  // namespace Sonvik
