#pragma once
// The number part of voice folding: spoken numbers, Roman numerals and digits brought to one
// form (decimal digits without leading zeros), so that "twenty one", "XXI" and "021" meet.
#include <string>
#include <vector>

namespace Sonvik::search {

// Rewrites `tokens` (already case folded, spelled words joined) in place: a lone "n" becomes
// "and"; Roman numerals I to XX, runs of number words and digit tokens become digits.
void FoldNumbers(std::vector<std::string>& tokens);

}  // namespace Sonvik::search
