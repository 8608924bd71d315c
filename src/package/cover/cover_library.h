#pragma once
#include <string>

namespace QUOR {
class APIRequest;
}

namespace Sonvik::webapi::cover {

class CoverLibrary {
 public:
  explicit CoverLibrary(QUOR::APIRequest* request) : request_(request) {}

  // The cached copy of the picture embedded in the audio file; empty when it has none.
  std::string GetEmbeddedCoverPath(const std::string& track_path);
  // cover|folder|front|albumart . jpg|jpeg|png|webp in the track's folder, any letter case;
  // empty when there is none.
  std::string GetFolderCoverPath(const std::string& track_path);

 private:
  QUOR::APIRequest* request_;
};

}  // namespace Sonvik::webapi::cover
