// Rescans: unchanged files are not read again, changed ones are re-read in place (same id),
// vanished ones are removed, and a folder that cannot be read keeps its tracks.
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <sys/time.h>

#include "unit/scanner/scan_fixture.h"

namespace Sonvik::scanner::testing {
namespace {

// Sets a file's mtime (seconds since the epoch), keeping its content.
void SetMtime(const fs::path& path, time_t seconds) {
  timeval times[2] = {{seconds, 0}, {seconds, 0}};
  ASSERT_EQ(utimes(path.c_str(), times), 0);
}

class IncrementalScan : public ScanTest {
 protected:
  void SetUp() override {
    ScanTest::SetUp();
    MakeAudioFile(music_ / "a/one.mp3", 1.0, {{"title", "One"}});
    MakeAudioFile(music_ / "a/two.flac", 1.0, {{"title", "Two"}});
    MakeAudioFile(music_ / "b/three.ogg", 1.0, {{"title", "Three"}});
    WriteFile(music_ / "mix.m3u8", "#EXTM3U\na/one.mp3\n");
    for (const char* name : {"a/one.mp3", "a/two.flac", "b/three.ogg"}) {
      SetMtime(music_ / name, 1600000000);
    }
    AddShared(music_);
    first_ = Scan();
  }
  int64_t IdOf(const char* name) {
    return Count("SELECT id FROM tracks WHERE path = '" + (music_ / name).string() + "'");
  }
  ScanRun first_;
};

TEST_F(IncrementalScan, NothingChangedMeansNothingRead) {
  EXPECT_EQ(first_.summary.read, 3);
  const ScanRun again = Scan();
  EXPECT_EQ(again.summary.files, 3);
  EXPECT_EQ(again.summary.unchanged, 3);
  EXPECT_EQ(again.summary.read, 0);
  EXPECT_EQ(again.summary.tracks_added + again.summary.tracks_updated, 0);
  EXPECT_EQ(again.summary.tracks_removed, 0);
  EXPECT_EQ(Count("SELECT count(*) FROM playlist_files"), 1);
}

TEST_F(IncrementalScan, SameSizeAndMtimeIsTrustedWithoutReading) {
  // Replace the content with noise of the same size and put the old mtime back: only a full
  // scan can notice.
  const fs::path path = music_ / "a/two.flac";
  WriteFile(path, std::string(fs::file_size(path), 'x'));
  SetMtime(path, 1600000000);
  const ScanRun quick = Scan();
  EXPECT_EQ(quick.summary.read, 0);
  EXPECT_EQ(Count("SELECT count(*) FROM tracks WHERE title = 'Two'"), 1);
  const ScanRun full = Scan(/*full=*/true);
  EXPECT_EQ(full.summary.read, 2);
  EXPECT_EQ(full.summary.unreadable, 1);
  EXPECT_EQ(Count("SELECT count(*) FROM tracks WHERE title = 'Two'"), 0);
}

TEST_F(IncrementalScan, AChangedFileIsReadAgainUnderTheSameId) {
  const int64_t id = IdOf("b/three.ogg");
  MakeAudioFile(music_ / "b/three.ogg", 1.5, {{"title", "Three Again"}});
  SetMtime(music_ / "b/three.ogg", 1600000100);
  const ScanRun again = Scan();
  EXPECT_EQ(again.summary.read, 1);
  EXPECT_EQ(again.summary.tracks_updated, 1);
  EXPECT_EQ(IdOf("b/three.ogg"), id);
  EXPECT_EQ(Count("SELECT count(*) FROM tracks WHERE title = 'Three Again'"), 1);
  // A new mtime alone (same content) is a change too.
  SetMtime(music_ / "a/one.mp3", 1600000200);
  EXPECT_EQ(Scan().summary.read, 1);
}

TEST_F(IncrementalScan, VanishedFilesFoldersAndPlaylistsAreRemoved) {
  fs::remove(music_ / "a/one.mp3");
  fs::remove_all(music_ / "b");
  fs::remove(music_ / "mix.m3u8");
  const ScanRun again = Scan();
  EXPECT_EQ(again.summary.tracks_removed, 2);
  EXPECT_EQ(Column("SELECT title FROM tracks"), std::vector<std::string>{"Two"});
  EXPECT_EQ(Count("SELECT count(*) FROM playlist_files"), 0);
}

TEST_F(IncrementalScan, AMissingMusicFolderKeepsItsTracks) {
  // An unmounted disk must not empty the library.
  fs::rename(music_, music_.string() + "-away");
  const ScanRun again = Scan();
  EXPECT_EQ(again.problems.size(), 1u);
  EXPECT_EQ(again.summary.tracks_removed, 0);
  EXPECT_EQ(Count("SELECT count(*) FROM tracks"), 3);
  fs::rename(music_.string() + "-away", music_);
  EXPECT_EQ(Scan().summary.unchanged, 3);
}

TEST_F(IncrementalScan, NewFilesAreAddedBesideKnownOnes) {
  MakeAudioFile(music_ / "b/four.m4a", 1.0, {{"title", "Four"}});
  const ScanRun again = Scan();
  EXPECT_EQ(again.summary.read, 1);
  EXPECT_EQ(again.summary.tracks_added, 1);
  EXPECT_EQ(Count("SELECT count(*) FROM tracks"), 4);
}

TEST_F(IncrementalScan, LinkedFoldersAreWalkedOnceAndLoopsEnd) {
  fs::create_directory_symlink(music_, music_ / "a/loop");
  fs::create_directory_symlink(music_ / "b", music_ / "b-again");
  const ScanRun again = Scan();
  EXPECT_TRUE(again.problems.empty());
  EXPECT_EQ(again.summary.files, 3);
  EXPECT_EQ(Count("SELECT count(*) FROM tracks"), 3);
}

}  // namespace
}  // namespace Sonvik::scanner::testing
