#pragma once
// Texts from files that predate UTF-8 everywhere.
#include <string>
#include <string_view>

namespace Sonvik::scanner {

// `text` unchanged when it is valid UTF-8 (a leading byte order mark dropped), else read as
// Latin-1 and converted to UTF-8.
std::string ToUtf8FromUtf8OrLatin1(std::string_view text);

}  // namespace Sonvik::scanner
