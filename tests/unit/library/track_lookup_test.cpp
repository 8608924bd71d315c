// Track lookup by id through a user's view, and the fixed-size record it fills.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "package/library/personal_library.h"
#include "package/library/track_record.h"
#include "unit/library/library_fixture.h"

namespace Sonvik::library::testing {
namespace {

constexpr unsigned kAlice = 1025;
constexpr unsigned kBob = 1026;

class TrackLookup : public LibraryDatabaseTest {
 protected:
  void SetUp() override {
    LibraryDatabaseTest::SetUp();
    shared_ = InsertLibrary("/music", 0, "", true);
    alice_ = InsertLibrary("/home/alice/music", kAlice, "alice", true);
    bob_ = InsertLibrary("/home/bob/music", kBob, "bob", false);
    shared_track_ = InsertTrack(shared_, "/music/a.flac", "Shared Song");
    alice_track_ = InsertTrack(alice_, "/home/alice/music/b.flac", "Alice Song");
    bob_track_ = InsertTrack(bob_, "/home/bob/music/c.flac", "Bob Song");
  }
  int Lookup(unsigned uid, int64_t id) {
    return QUORMusicGetOneById("all", uid, 0, &record_, 0, std::to_string(id).c_str());
  }
  int64_t shared_ = 0, alice_ = 0, bob_ = 0;
  int64_t shared_track_ = 0, alice_track_ = 0, bob_track_ = 0;
  TrackRecord record_{};
};

TEST_F(TrackLookup, FillsEveryFieldOfASharedTrack) {
  ASSERT_EQ(Lookup(kBob, shared_track_), 0);
  EXPECT_EQ(record_.id, shared_track_);
  EXPECT_STREQ(record_.path, "/music/a.flac");
  EXPECT_STREQ(record_.title, "Shared Song");
  EXPECT_STREQ(record_.album, "Album");
  EXPECT_STREQ(record_.artist, "Artist");
  EXPECT_STREQ(record_.container, "flac");
  EXPECT_EQ(record_.year, 1999);
  EXPECT_EQ(record_.duration_ms, 61000);
  EXPECT_EQ(record_.size, 1234);
  EXPECT_EQ(record_.mtime, 1700000000);
  EXPECT_EQ(record_.start_ms, 5000);
  EXPECT_EQ(record_.end_ms, 9000);
  EXPECT_EQ(record_.owner_uid, 0u);
  EXPECT_FALSE(IsVirtualMusic(record_.virtual_index));
}

TEST_F(TrackLookup, PersonalTracksOnlyForTheirOwnerWhileEnabled) {
  EXPECT_EQ(Lookup(kAlice, alice_track_), 0);
  EXPECT_EQ(record_.owner_uid, kAlice);
  EXPECT_LT(Lookup(kBob, alice_track_), 0);
  EXPECT_LT(Lookup(0, alice_track_), 0);
  // Bob's personal library is switched off: not even Bob sees it.
  EXPECT_LT(Lookup(kBob, bob_track_), 0);
  EXPECT_LT(Lookup(kAlice, bob_track_), 0);
}

TEST_F(TrackLookup, UnknownOrMalformedIdsAreRefusedWithAClearedRecord) {
  std::memset(&record_, 'x', sizeof(record_));
  EXPECT_LT(Lookup(kAlice, 9999), 0);
  EXPECT_EQ(record_.path[0], '\0');
  for (const char* text : {"", "abc", "12abc", "-1", "0", " 1", "+1", "99999999999999999999"}) {
    EXPECT_LT(QUORMusicGetOneById("all", kAlice, 0, &record_, 0, text), 0) << text;
  }
  EXPECT_LT(QUORMusicGetOneById("all", kAlice, 0, &record_, 0, nullptr), 0);
  EXPECT_LT(QUORMusicGetOneById("all", kAlice, 0, nullptr, 0, "1"), 0);
  EXPECT_LT(QUORMusicGetOneById("shared", kAlice, 0, &record_, 0, "1"), 0);
}

TEST_F(TrackLookup, VirtualTracksAreFlagged) {
  const int64_t id = InsertTrack(shared_, "/music/whole.flac", "Part Two", 2);
  ASSERT_EQ(Lookup(kAlice, id), 0);
  EXPECT_EQ(record_.virtual_index, 2);
  EXPECT_TRUE(IsVirtualMusic(record_.virtual_index));
}

TEST_F(TrackLookup, LongTextsAreCutAtACharacterBoundary) {
  // 2-byte characters; the title array holds 511 bytes plus the NUL, an odd number of bytes.
  std::string title;
  for (int i = 0; i < 400; ++i) title += "\xc3\xa9";
  const int64_t id = InsertTrack(shared_, "/music/long.flac", title);
  ASSERT_EQ(Lookup(kAlice, id), 0);
  EXPECT_EQ(std::strlen(record_.title), 510u);
  EXPECT_EQ(std::string(record_.title), title.substr(0, 510));
}

TEST_F(TrackLookup, APathThatDoesNotFitIsNotCut) {
  const std::string path = "/music/" + std::string(5000, 'p') + ".flac";
  const int64_t id = InsertTrack(shared_, path, "Deep");
  EXPECT_LT(Lookup(kAlice, id), 0);
  EXPECT_EQ(record_.path[0], '\0');
}

TEST_F(TrackLookup, MissingDatabaseFolderIsAFailureNotACrash) {
  CloseProcessLibraryDatabase();
  std::filesystem::remove_all(paths::kStateDir);
  EXPECT_LT(Lookup(kAlice, shared_track_), 0);
}

}  // namespace
}  // namespace Sonvik::library::testing
