// Web-API playlist ids: what GetId writes, what the parsing constructor accepts and refuses.
#include <gtest/gtest.h>

#include <string>

#include "package/playlist/playlist_name.h"
#include "package/playlist/playlist_result.h"

namespace Sonvik::webapi::playlist {
namespace {

void ExpectRecord(const PlaylistResult& r, const std::string& name, const std::string& id,
                  bool personal, bool smart) {
  EXPECT_EQ(r.name, name);
  EXPECT_EQ(r.id, id);
  EXPECT_EQ(r.is_personal, personal);
  EXPECT_EQ(r.is_smart, smart);
}

TEST(PlaylistId, EachKindRoundTrips) {
  struct Case {
    PlaylistResult record;
    const char* id;
  };
  const Case cases[] = {
      {PlaylistResult("Rock Classics", "12", false), "shared_normal_12/Rock Classics"},
      {PlaylistResult("Rock Classics", "12", true), "personal_normal_12/Rock Classics"},
      {PlaylistResult("Road Trip", "Road Trip", true), "personal_normal_Road Trip"},
      {PlaylistResult("7", "7", false), "shared_normal_7"},
      {PlaylistResult("Best of the 80s", true), "personal_smart_Best of the 80s"},
      {PlaylistResult("AC/DC live", false), "shared_smart_AC/DC live"},
      {PlaylistResult("Motörhead", false), "shared_smart_Motörhead"},
      {PlaylistResult("x", "18446744073709551615", false), "shared_normal_18446744073709551615/x"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.id);
    EXPECT_EQ(c.record.GetId(), c.id);
    PlaylistResult parsed{std::string(c.id)};
    ExpectRecord(parsed, c.record.name, c.record.id, c.record.is_personal, c.record.is_smart);
    EXPECT_EQ(parsed.GetId(), c.id);
  }
}

TEST(PlaylistId, RecordsWithoutAUsableIdGiveNone) {
  EXPECT_EQ(PlaylistResult().GetId(), "");
  EXPECT_EQ(PlaylistResult("", true).GetId(), "");
  EXPECT_EQ(PlaylistResult("x", "", false).GetId(), "");
  // Shared normal playlists are keyed by number only; a personal key may be a file's name.
  EXPECT_EQ(PlaylistResult("Rock", "Rock", false).GetId(), "");
  EXPECT_EQ(PlaylistResult("Rock", "Rock", true).GetId(), "personal_normal_Rock");
  EXPECT_EQ(PlaylistResult("x", "012", false).GetId(), "");
  EXPECT_EQ(PlaylistResult("a/b", "a/b", true).GetId(), "");
  // A valid key and name that would join into "../".
  EXPECT_EQ(PlaylistResult("ok", "x..", true).GetId(), "");
}

TEST(PlaylistId, RefusesEverythingElse) {
  const std::string refused[] = {
      "",
      "../../etc/passwd",
      "/etc/passwd",
      "personal_normal_../../etc/passwd",
      "personal_normal_..",
      "personal_normal_.",
      "shared_smart_../../root/.ssh/id_rsa",
      "personal_smart_/etc/shadow",
      "personal_normal_x../y",
      "shared_normal_3/../x",
      std::string("shared_smart_a\0b", 16),
      "shared_smart_a\nb",
      "personal_normal_\x1b[31mred",
      "shared_smart_a\xc2\x85"
      "b",                          // C1 control
      "shared_smart_\xc3\x28",      // broken UTF-8
      "shared_smart_\xc0\xaf",      // overlong "/"
      "shared_smart_\xed\xa0\x80",  // surrogate
      "shared_normal_012",
      "shared_normal_0",
      "shared_normal_18446744073709551616",
      "shared_normal_-3",
      "shared_normal_Rock",
      "shared_normal_12/12",
      "shared_normal_12/",
      "shared_smart_",
      "shared_normal_",
      "public_normal_12",
      "SHARED_NORMAL_12",
      "shared_normal12",
      "shared_smart_" + std::string(256, 'a'),
      "shared_normal_1/" + std::string(256, 'a'),
  };
  for (const auto& text : refused) {
    SCOPED_TRACE(text);
    PlaylistResult parsed(text);
    EXPECT_EQ(parsed.GetId(), "");
    ExpectRecord(parsed, "", "", false, false);
  }
}

TEST(PlaylistName, Rules) {
  using Sonvik::playlist::IsValidPlaylistFileName;
  using Sonvik::playlist::IsValidPlaylistName;
  EXPECT_TRUE(IsValidPlaylistName("...And Justice"));
  EXPECT_TRUE(IsValidPlaylistName("AC/DC"));
  EXPECT_FALSE(IsValidPlaylistFileName("AC/DC"));
  EXPECT_TRUE(IsValidPlaylistName(std::string(255, 'a')));
  EXPECT_FALSE(IsValidPlaylistName(std::string(256, 'a')));
  EXPECT_FALSE(IsValidPlaylistName("a\tb"));
  EXPECT_FALSE(IsValidPlaylistName("a\x7f"));
  EXPECT_FALSE(IsValidPlaylistName(".."));
  EXPECT_FALSE(IsValidPlaylistName("x/../y"));
}

}  // namespace
}  // namespace Sonvik::webapi::playlist
