// Voice folding and matching: what a spoken phrase finds and what it must not find.
#include "package/search/voice_fold.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Sonvik::search {
namespace {

using Tokens = std::vector<std::string>;

TEST(VoiceFold, AccentsCaseAndTransliteration) {
  EXPECT_EQ(VoiceFold("Beyoncé"), (Tokens{"beyonce"}));
  EXPECT_EQ(VoiceFold("MÖTLEY CRÜE"), (Tokens{"motley", "crue"}));
  EXPECT_EQ(VoiceFold("Sigur Rós"), (Tokens{"sigur", "ros"}));
  EXPECT_EQ(VoiceFold("Røyksopp"), (Tokens{"royksopp"}));
  EXPECT_EQ(VoiceFold("Mæstro Œuvre"), (Tokens{"maestro", "oeuvre"}));
  EXPECT_EQ(VoiceFold("Straße"), (Tokens{"strasse"}));
  EXPECT_EQ(VoiceFold("Đorđe Łódź"), (Tokens{"dorde", "lodz"}));
  EXPECT_EQ(VoiceFold("Þór"), (Tokens{"thor"}));
  EXPECT_EQ(VoiceFold("ＡＢＣ　ｄｅｆ"), (Tokens{"abc", "def"}));  // full width
  EXPECT_EQ(VoiceFold("ﬁre"), (Tokens{"fire"}));                   // ligature
  EXPECT_EQ(VoiceFold("Москва"), (Tokens{"москва"}));
  EXPECT_EQ(VoiceFold("東京 事変"), (Tokens{"東京", "事変"}));
}

TEST(VoiceFold, TokensEndAtEveryNonLetter) {
  EXPECT_EQ(VoiceFold("AC/DC"), (Tokens{"ac", "dc"}));
  EXPECT_EQ(VoiceFold("Don't Stop"), (Tokens{"don", "t", "stop"}));
  EXPECT_EQ(VoiceFold("Don’t"), (Tokens{"don", "t"}));
  EXPECT_EQ(VoiceFold("donʼt"), (Tokens{"don", "t"}));
  EXPECT_EQ(VoiceFold("  hello,\tworld!! "), (Tokens{"hello", "world"}));
  EXPECT_EQ(VoiceFold("Blink-182"), (Tokens{"blink", "182"}));
  EXPECT_EQ(VoiceFold("U2"), (Tokens{"u2"}));
  EXPECT_TRUE(VoiceFold("").empty());
  EXPECT_TRUE(VoiceFold(" '-!? ").empty());
  EXPECT_EQ(VoiceFold("a\xff\xfe"
                      "b"),
            (Tokens{"ab"}));  // invalid bytes separate
}

TEST(VoiceFold, SpelledWordsAreJoinedFirst) {
  EXPECT_EQ(VoiceFold("R.E.M."), (Tokens{"rem"}));
  EXPECT_EQ(VoiceFold("I N X S"), (Tokens{"inxs"}));
  EXPECT_EQ(VoiceFold("A B B A"), (Tokens{"abba"}));
  // A one-letter token alone is not joined; "I" alone is the numeral.
  EXPECT_EQ(VoiceFold("I Want You"), (Tokens{"1", "want", "you"}));
  EXPECT_EQ(VoiceFold("Malcolm X"), (Tokens{"malcolm", "10"}));
}

TEST(VoiceFold, AndSpellings) {
  const Tokens rock_and_roll{"rock", "and", "roll"};
  EXPECT_EQ(VoiceFold("Rock & Roll"), rock_and_roll);
  EXPECT_EQ(VoiceFold("Rock+Roll"), rock_and_roll);
  EXPECT_EQ(VoiceFold("Rock 'n' Roll"), rock_and_roll);
  EXPECT_EQ(VoiceFold("rock n roll"), rock_and_roll);
  EXPECT_EQ(VoiceFold("Rock ＆ Roll"), rock_and_roll);
  EXPECT_EQ(VoiceFold("N E R D"), (Tokens{"nerd"}));
}

TEST(VoiceFold, NumbersMeetInOneForm) {
  EXPECT_EQ(VoiceFold("twenty one pilots"), (Tokens{"21", "pilots"}));
  EXPECT_EQ(VoiceFold("Twenty-One Pilots"), (Tokens{"21", "pilots"}));
  EXPECT_EQ(VoiceFold("ninety nine"), (Tokens{"99"}));
  EXPECT_EQ(VoiceFold("nineteen seventy five"), (Tokens{"19", "75"}));
  EXPECT_EQ(VoiceFold("nineteen hundred eighty four"), (Tokens{"1984"}));
  EXPECT_EQ(VoiceFold("two thousand and one"), (Tokens{"2001"}));
  EXPECT_EQ(VoiceFold("one hundred and ten"), (Tokens{"110"}));
  EXPECT_EQ(VoiceFold("a hundred"), (Tokens{"a", "100"}));
  EXPECT_EQ(VoiceFold("thousand"), (Tokens{"1000"}));
  EXPECT_EQ(VoiceFold("one two three"), (Tokens{"1", "2", "3"}));
  EXPECT_EQ(VoiceFold("zero"), (Tokens{"0"}));
  EXPECT_EQ(VoiceFold("Track 007"), (Tokens{"track", "7"}));
  EXPECT_EQ(VoiceFold("000"), (Tokens{"0"}));
  EXPECT_EQ(VoiceFold("Rocky IV"), (Tokens{"rocky", "4"}));
  EXPECT_EQ(VoiceFold("Part II"), (Tokens{"part", "2"}));
  EXPECT_EQ(VoiceFold("XX"), (Tokens{"20"}));
  EXPECT_EQ(VoiceFold("XXI mix"), (Tokens{"xxi", "mix"}));  // beyond twenty: a word
  EXPECT_EQ(VoiceFold("Symphony № 5"), (Tokens{"symphony", "no", "5"}));
  EXPECT_EQ(VoiceFold("x²"), (Tokens{"x2"}));
  // "and" between numbers only after hundred or thousand.
  EXPECT_EQ(VoiceFold("one and two"), (Tokens{"1", "and", "2"}));
  EXPECT_EQ(VoiceFold("hundred and"), (Tokens{"100", "and"}));
}

struct MatchCase {
  const char* keyword;
  const char* tag;
  bool matches;
};

TEST(VoiceMatch, FromTokenBoundaryToTokenBoundary) {
  const MatchCase cases[] = {
      {"A B B A", "ABBA", true},
      {"abba", "ABBA", true},
      {"R E M", "R.E.M.", true},
      {"rem", "R.E.M.", true},
      {"ac dc", "AC/DC", true},
      {"ACDC", "AC/DC", true},
      {"AC DC", "AC/DC", true},
      {"beatles", "The Beatles", true},
      {"the beatles", "The Beatles", true},
      {"hey", "They", false},
      {"hey", "Hey Jude", true},
      {"jude", "Hey Jude", true},
      {"hey jude", "Hey Jude (Remastered 2009)", true},
      {"jude remastered", "Hey Jude (Remastered 2009)", true},
      {"hey remastered", "Hey Jude (Remastered 2009)", false},
      {"love", "Lovely Day", false},
      {"day", "Lovely Day", true},
      {"don t", "Don't Stop Me Now", true},
      {"dont stop", "Don't Stop Me Now", true},
      {"don", "Don't Stop Me Now", true},
      {"on t", "Don't Stop Me Now", false},
      {"I N X S", "INXS", true},
      {"beyonce", "Beyoncé", true},
      {"royksopp", "Röyksopp", true},
      {"motorhead", "Motörhead", true},
      {"twenty one pilots", "21 Pilots", true},
      {"21", "Twenty-One Pilots", true},
      {"1975", "Nineteen Seventy-Five", true},
      {"nineteen seventy five", "1975", true},
      {"rocky 4", "Rocky IV", true},
      {"rocky four", "Rocky IV", true},
      {"guns and roses", "Guns N' Roses", true},
      {"guns n roses", "Guns N' Roses", true},
      {"rock and roll", "Rock & Roll", true},
      {"blink one eighty two", "Blink-182", true},
      {"e m", "R.E.M.", false},
      {"", "anything", false},
      {"!!", "!!", false},
  };
  for (const MatchCase& c : cases) {
    EXPECT_EQ(VoiceMatches(c.keyword, c.tag), c.matches) << c.keyword << " / " << c.tag;
  }
}

TEST(VoiceMatch, FoldedTagDirectly) {
  const Tokens tag{"the", "long", "and", "winding", "road"};
  EXPECT_TRUE(MatchesFoldedTag("longandwinding", tag));
  EXPECT_TRUE(MatchesFoldedTag("road", tag));
  EXPECT_TRUE(MatchesFoldedTag("thelongandwindingroad", tag));
  EXPECT_FALSE(MatchesFoldedTag("longandwind", tag));
  EXPECT_FALSE(MatchesFoldedTag("thelongandwindingroads", tag));
  EXPECT_FALSE(MatchesFoldedTag("", tag));
  EXPECT_FALSE(MatchesFoldedTag("road", {}));
  EXPECT_EQ(JoinTokens(tag), "thelongandwindingroad");
}

}  // namespace
}  // namespace Sonvik::search
