#pragma once
#include <string>

#include "host/api/base_handler.h"

namespace Sonvik {

// Hands out the stored account-linking challenge once.
class ChallengeHandler : public QUOR::BaseHandler {
 public:
  using BaseHandler::BaseHandler;

  // The stored challenge (possibly empty), cleared from the configuration in the same locked
  // step; a failed clear is logged and the string is still answered.
  std::string GetChallengeString() const;
};

}  // namespace Sonvik
