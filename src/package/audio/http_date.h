#pragma once
// HTTP dates in the one form servers send ("Sun, 06 Nov 1994 08:49:37 GMT"), independent of the
// process's locale.
#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace Sonvik::audio {

std::string FormatHttpDate(time_t when);
// Reads the form FormatHttpDate writes; nullopt for anything else (obsolete forms included).
std::optional<time_t> ParseHttpDate(std::string_view text);

}  // namespace Sonvik::audio
