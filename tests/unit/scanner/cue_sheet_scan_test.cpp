// CUE sheets: each entry becomes a virtual track of the file the sheet names.
#include <gtest/gtest.h>

#include "package/sqlite/statement.h"
#include "unit/scanner/scan_fixture.h"

namespace Sonvik::scanner::testing {
namespace {

// TITLE of track 2 is Latin-1 ("Caf\xe9"), as older sheets are.
const char* const kSheet =
    "REM GENRE Jazz\r\n"
    "REM DATE 2003\r\n"
    "PERFORMER \"Lumen Quartet\"\r\n"
    "TITLE \"Night Sessions\"\r\n"
    "FILE \"whole.wav\" WAVE\r\n"
    "  TRACK 01 AUDIO\r\n"
    "    TITLE \"Blue Hour\"\r\n"
    "    INDEX 01 00:00:00\r\n"
    "  TRACK 02 AUDIO\r\n"
    "    TITLE \"Caf\xe9 at Two\"\r\n"
    "    PERFORMER \"Ada Voss\"\r\n"
    "    INDEX 00 00:02:00\r\n"
    "    INDEX 01 00:02:37\r\n"
    "  TRACK 03 AUDIO\r\n"
    "    TITLE \"Last Call\"\r\n"
    "    INDEX 01 00:04:00\r\n";

class CueSheetScan : public ScanTest {
 protected:
  void SetUp() override {
    ScanTest::SetUp();
    // The sheet names a .wav; the album was converted to FLAC since, as often happens.
    MakeAudioFile(music_ / "album/whole.flac", 6.0, {{"title", "Whole File"}});
    WriteFile(music_ / "album/whole.cue", kSheet);
    MakeAudioFile(music_ / "album/bonus.mp3", 1.0, {{"title", "Bonus"}});
    AddShared(music_);
  }
};

TEST_F(CueSheetScan, EntriesBecomeVirtualTracksOfTheFile) {
  const ScanRun run = Scan();
  EXPECT_TRUE(run.problems.empty()) << run.problems.front();
  EXPECT_EQ(run.summary.files, 2);
  sqlite::Statement rows(Db(),
                         "SELECT virtual_index, title, artist, album, album_artist, genre, year,"
                         " track_number, start_ms, end_ms, duration_ms, codec, path"
                         " FROM tracks WHERE sheet_path IS NOT NULL ORDER BY virtual_index");
  struct Row {
    int index;
    const char* title;
    const char* artist;
    int64_t start, end, duration;
  };
  // 00:02:37 is 2 s and 37 frames of 1/75 s.
  const Row expected[] = {{1, "Blue Hour", "Lumen Quartet", 0, 2493, 2493},
                          {2, "Caf\xc3\xa9 at Two", "Ada Voss", 2493, 4000, 1507},
                          {3, "Last Call", "Lumen Quartet", 4000, 0, 2000}};
  for (const Row& row : expected) {
    ASSERT_TRUE(rows.Step());
    EXPECT_EQ(rows.ColumnInt(0), row.index);
    EXPECT_EQ(rows.ColumnText(1), row.title);
    EXPECT_EQ(rows.ColumnText(2), row.artist);
    EXPECT_EQ(rows.ColumnText(3), "Night Sessions");
    EXPECT_EQ(rows.ColumnText(4), "Lumen Quartet");
    EXPECT_EQ(rows.ColumnText(5), "Jazz");
    EXPECT_EQ(rows.ColumnInt(6), 2003);
    EXPECT_EQ(rows.ColumnInt(7), row.index);
    EXPECT_EQ(rows.ColumnInt64(8), row.start);
    EXPECT_EQ(rows.ColumnInt64(9), row.end);
    EXPECT_NEAR(rows.ColumnInt64(10), row.duration, 50);
    EXPECT_EQ(rows.ColumnText(11), "flac");
    EXPECT_EQ(rows.ColumnText(12), (music_ / "album/whole.flac").string());
  }
  EXPECT_FALSE(rows.Step());
  // The split file is not a track of its own; the other file of the folder is.
  EXPECT_EQ(Count("SELECT count(*) FROM tracks WHERE title = 'Whole File'"), 0);
  EXPECT_EQ(Count("SELECT count(*) FROM tracks WHERE title = 'Bonus'"), 1);
}

TEST_F(CueSheetScan, AnEditedSheetIsReadAgainKeepingIds) {
  Scan();
  const int64_t first_id = Count("SELECT id FROM tracks WHERE virtual_index = 1");
  EXPECT_EQ(Scan().summary.read, 0);
  // Drop the last entry: the sheet changed, the audio file did not.
  std::string shorter = kSheet;
  shorter.erase(shorter.find("  TRACK 03"));
  WriteFile(music_ / "album/whole.cue", shorter);
  const ScanRun run = Scan();
  EXPECT_EQ(run.summary.read, 1);
  EXPECT_EQ(run.summary.tracks_removed, 1);
  EXPECT_EQ(Count("SELECT count(*) FROM tracks WHERE sheet_path IS NOT NULL"), 2);
  EXPECT_EQ(Count("SELECT id FROM tracks WHERE virtual_index = 1"), first_id);
  EXPECT_EQ(Count("SELECT end_ms FROM tracks WHERE virtual_index = 2"), 0);
}

TEST_F(CueSheetScan, WithoutItsSheetTheFileIsAPlainTrackAgain) {
  Scan();
  fs::remove(music_ / "album/whole.cue");
  const ScanRun run = Scan();
  EXPECT_EQ(run.summary.tracks_removed, 3);
  EXPECT_EQ(Column("SELECT title FROM tracks ORDER BY title"),
            (std::vector<std::string>{"Bonus", "Whole File"}));
}

TEST_F(CueSheetScan, BrokenSheetsAreReportedAndTheFileStaysPlain) {
  WriteFile(music_ / "album/whole.cue", "this is not a cue sheet {{{\n");
  WriteFile(music_ / "other/missing.cue",
            "FILE \"gone.flac\" WAVE\n  TRACK 01 AUDIO\n    INDEX 01 00:00:00\n");
  const ScanRun run = Scan();
  EXPECT_EQ(run.problems.size(), 2u);
  EXPECT_EQ(Column("SELECT title FROM tracks ORDER BY title"),
            (std::vector<std::string>{"Bonus", "Whole File"}));
}

}  // namespace
}  // namespace Sonvik::scanner::testing
