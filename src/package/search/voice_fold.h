#pragma once
// Voice folding: what makes a spoken phrase find a tag. Keyword and tag always go through the
// same fold, then a keyword matches a tag when its tokens, written without separators, equal the
// tag's tokens from some token boundary to a later one, written the same way:
//
//   "A B B A" finds "ABBA", "R E M" finds "R.E.M.", "ac dc" and "ACDC" find "AC/DC",
//   "beatles" finds "The Beatles", "hey" does not find "They".
//
// The fold, in order:
//   1. compatibility decomposition, accents dropped, case folded (utf8proc); letters that do not
//      decompose are transliterated (ø -> o, æ -> ae, ß -> ss, đ -> d, ł -> l, þ -> th, ...);
//   2. cut into tokens at every character that is not a letter or digit; "&" and "+" are the
//      token "and" ("AC/DC" is `ac dc`, "Don't" is `don t`);
//   3. two or more one-letter tokens in a row are one spelled word ("I N X S" -> `inxs`);
//   4. a lone "n" is "and"; Roman numerals I to XX, number words ("twenty one", "nineteen
//      seventy five", "two thousand and one") and digits all become digits without leading zeros.
#include <string>
#include <string_view>
#include <vector>

namespace Sonvik::search {

// The folded tokens of `text` (UTF-8; invalid bytes act as separators). Empty when the text holds
// no letter or digit.
std::vector<std::string> VoiceFold(std::string_view text);

// The tokens written without separators: the form a keyword is looked up by.
std::string JoinTokens(const std::vector<std::string>& tokens);

// True when `joined_keyword` (a keyword's JoinTokens) equals the concatenation of tag_tokens[i..j]
// for some i <= j. An empty keyword matches nothing.
bool MatchesFoldedTag(std::string_view joined_keyword, const std::vector<std::string>& tag_tokens);

// Folds both sides and matches: the one-call form for callers outside the search engine (smart
// playlist rules, for example).
bool VoiceMatches(std::string_view keyword, std::string_view tag);

}  // namespace Sonvik::search
