#include "package/library/personal_library.h"

// Placeholder until the library database lands.
int IsPersonalLibEnabled(const std::string&) { return 0; }
