#pragma once
// Personal music libraries: one folder per user, switched on or off.
#include <string>

// Non-zero when the user's personal music library is switched on.
int IsPersonalLibEnabled(const std::string& user_name);

namespace Sonvik::library {

// Registers (or moves) user `uid`'s personal library to `folder` and switches it on.
// Throws std::runtime_error with a message for the user when the folder is unusable.
void SetPersonalLibrary(unsigned uid, const std::string& user_name, const std::string& folder);
// Switches the personal library off (its tracks stay until the next scan).
void DisablePersonalLibrary(unsigned uid);
// Forgets the user's personal library and its tracks (user deleted).
void RemovePersonalLibrary(unsigned uid);

}  // namespace Sonvik::library
