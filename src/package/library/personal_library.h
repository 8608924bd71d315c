#pragma once
#include <string>

// Non-zero when the user's personal music library is switched on.
int IsPersonalLibEnabled(const std::string& user_name);
