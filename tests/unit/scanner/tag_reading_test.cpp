// What a scan records of each format: tags, and audio properties in FFmpeg's names.
#include <gtest/gtest.h>

#include <cstdlib>

#include "package/sqlite/statement.h"
#include "unit/scanner/scan_fixture.h"

namespace Sonvik::scanner::testing {
namespace {

using TagReading = ScanTest;

struct Expected {
  const char* file;
  const char* container;
  const char* codec;
  int sample_rate;
};

TEST_F(TagReading, EveryFormatGivesTagsAndProperties) {
  const std::map<std::string, std::string> tags = {{"title", "Don't Wait Up"},
                                                   {"artist", "Café Lumière"},
                                                   {"album", "Twenty One Lanterns"},
                                                   {"album_artist", "Various Ørn"},
                                                   {"genre", "Chanson"},
                                                   {"date", "2019-04-01"},
                                                   {"track", "3/12"},
                                                   {"disc", "2/2"}};
  const Expected formats[] = {
      {"a.mp3", "mp3", "mp3", 44100},    {"b.flac", "flac", "flac", 44100},
      {"c.ogg", "ogg", "vorbis", 44100}, {"d.opus", "ogg", "opus", 48000},
      {"e.m4a", "mp4", "aac", 44100},    {"f.wav", "wav", "pcm_s16le", 44100},
  };
  for (const Expected& format : formats) MakeAudioFile(music_ / format.file, 2.0, tags);
  AddShared(music_);
  const ScanRun run = Scan();
  EXPECT_TRUE(run.problems.empty()) << run.problems.front();
  EXPECT_EQ(run.summary.files, 6);
  EXPECT_EQ(run.summary.tracks_added, 6);

  sqlite::Statement row(Db(),
                        "SELECT title, artist, album, album_artist, genre, year, track_number,"
                        " disc, container, codec, sample_rate, channels, duration_ms, bitrate,"
                        " size, virtual_index FROM tracks WHERE path = ?");
  for (const Expected& format : formats) {
    SCOPED_TRACE(format.file);
    row.Reset();
    row.Bind(1, (music_ / format.file).string());
    ASSERT_TRUE(row.Step());
    EXPECT_EQ(row.ColumnText(8), format.container);
    EXPECT_EQ(row.ColumnText(9), format.codec);
    EXPECT_EQ(row.ColumnInt(10), format.sample_rate);
    EXPECT_EQ(row.ColumnInt(11), 2);
    EXPECT_NEAR(row.ColumnInt(12), 2000, 120);
    EXPECT_GT(row.ColumnInt(13), 1000);
    EXPECT_EQ(row.ColumnInt64(14), static_cast<int64_t>(fs::file_size(music_ / format.file)));
    EXPECT_EQ(row.ColumnInt(15), 0);
    if (std::string(format.file) == "f.wav") continue;  // RIFF INFO holds fewer fields
    EXPECT_EQ(row.ColumnText(0), "Don't Wait Up");
    EXPECT_EQ(row.ColumnText(1), "Café Lumière");
    EXPECT_EQ(row.ColumnText(2), "Twenty One Lanterns");
    EXPECT_EQ(row.ColumnText(3), "Various Ørn");
    EXPECT_EQ(row.ColumnText(4), "Chanson");
    EXPECT_EQ(row.ColumnInt(5), 2019);
    EXPECT_EQ(row.ColumnInt(6), 3);
    EXPECT_EQ(row.ColumnInt(7), 2);
  }
}

TEST_F(TagReading, CorruptAndMislabelledFilesAreReportedAndSkipped) {
  MakeAudioFile(music_ / "good.flac", 1.0, {{"title", "Good"}});
  std::string noise(20000, '\0');
  for (size_t i = 0; i < noise.size(); ++i) noise[i] = static_cast<char>((i * 7919) % 251);
  WriteFile(music_ / "noise.flac", noise);
  WriteFile(music_ / "noise.mp3", noise);
  WriteFile(music_ / "empty.m4a", "");
  WriteFile(music_ / "text.ogg", "this is not a vorbis stream\n");
  // A real file cut short in the middle of its header.
  MakeAudioFile(music_ / "whole.opus", 1.0);
  fs::resize_file(music_ / "whole.opus", 40);
  AddShared(music_);
  const ScanRun run = Scan();
  EXPECT_EQ(Column("SELECT title FROM tracks"), std::vector<std::string>{"Good"});
  EXPECT_EQ(run.summary.unreadable, 5);
  EXPECT_EQ(run.problems.size(), 5u);
  for (const char* name : {"noise.flac", "noise.mp3", "empty.m4a", "text.ogg", "whole.opus"}) {
    const std::string path = (music_ / name).string();
    EXPECT_TRUE(std::any_of(run.problems.begin(), run.problems.end(),
                            [&](const std::string& p) { return p.starts_with(path + ": "); }))
        << name << " was not reported";
  }
}

TEST_F(TagReading, OnlyKnownAudioExtensionsAndVisibleFilesAreRead) {
  MakeAudioFile(music_ / "Song.MP3", 1.0);
  MakeAudioFile(music_ / ".hidden.mp3", 1.0);
  MakeAudioFile(music_ / ".hidden-folder/inside.mp3", 1.0);
  fs::copy_file(music_ / "Song.MP3", music_ / "song.mp3.bak");
  WriteFile(music_ / "notes.txt", "liner notes");
  AddShared(music_);
  const ScanRun run = Scan();
  EXPECT_TRUE(run.problems.empty());
  EXPECT_EQ(Column("SELECT path FROM tracks"),
            std::vector<std::string>{(music_ / "Song.MP3").string()});
}

}  // namespace
}  // namespace Sonvik::scanner::testing
