#pragma once
#include "host/api/base_handler.h"

namespace Sonvik {

// Answers which build of the package this is and which formats it can deliver.
class InfoHandler : public QUOR::BaseHandler {
 public:
  using BaseHandler::BaseHandler;

  // The number after the last "-" of the INFO file's "version"; -1 when it cannot be had.
  int GetBuildNumber() const;
  bool CanTranscodeToMp3() const;
};

}  // namespace Sonvik
