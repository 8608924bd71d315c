#include "package/library/personal_library.h"

#include <stdexcept>

// Placeholders until the library database lands.
int IsPersonalLibEnabled(const std::string&) { return 0; }

namespace Sonvik::library {
void SetPersonalLibrary(unsigned, const std::string&, const std::string&) {
  throw std::runtime_error("personal libraries are not available yet");
}
void DisablePersonalLibrary(unsigned) {}
void RemovePersonalLibrary(unsigned) {}
}  // namespace Sonvik::library
