// Playlist files: parsing and writing M3U, and importing a shared folder's playlist files.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "package/playlist/m3u.h"
#include "package/playlist/m3u_import.h"
#include "package/playlist/playlist_editor.h"
#include "unit/playlist/playlist_fixture.h"

namespace Sonvik::playlist::testing {
namespace {

TEST(M3u, ParsesLocationsCommentsAndUrls) {
  const auto entries = ParseM3u(
      "\xEF\xBB\xBF#EXTM3U\r\n"
      "#EXTINF:123,Artist - Title\r\n"
      "a/b.mp3\r\n"
      "\r\n"
      "   /abs/c d.flac  \n"
      "#SONVIK-VIRTUAL:3\n"
      "/abs/album.flac\n"
      "#SONVIK-VIRTUAL:x\n"
      "file:///abs/e%20f.ogg\n"
      "FILE://localhost/abs/g.ogg\n"
      "http://radio.example/stream");
  const std::vector<PlaylistEntry> expected = {
      {"a/b.mp3", 0},      {"/abs/c d.flac", 0}, {"/abs/album.flac", 3},
      {"/abs/e f.ogg", 0}, {"/abs/g.ogg", 0},    {"http://radio.example/stream", 0}};
  EXPECT_EQ(entries, expected);
}

TEST(M3u, WritesWhatItReads) {
  std::vector<M3uItem> items = {{{"/m/a.flac", 0}, 61, "A - \nB"}, {{"/m/b.flac", 2}, -1, ""}};
  const std::string text = FormatM3u8(items);
  EXPECT_EQ(text,
            "#EXTM3U\n#EXTINF:61,A -  B\n/m/a.flac\n#EXTINF:-1,\n#SONVIK-VIRTUAL:2\n/m/b.flac\n");
  EXPECT_EQ(ParseM3u(text), (std::vector<PlaylistEntry>{{"/m/a.flac", 0}, {"/m/b.flac", 2}}));
  M3uDocument document = ParseM3uDocument(text + "# end\n");
  EXPECT_EQ(document.Text(), text + "# end\n");
}

class M3uImportTest : public PlaylistDatabaseTest {
 protected:
  int64_t AddPlaylistFile(const std::string& path, const std::string& text, int64_t library) {
    WriteFile(path, text);
    sqlite::Statement insert(Db(),
                             "INSERT INTO playlist_files (library_id, path, size, mtime_ns)"
                             " VALUES (?, ?, ?, 1)");
    insert.BindAll(library, path, static_cast<int64_t>(text.size()));
    insert.Run();
    return sqlite3_last_insert_rowid(Db());
  }
  std::vector<std::string> Shown(const std::string& name) {
    std::vector<std::string> titles;
    for (const auto& item : PlaylistEditor(Db(), {0, "", ""}).Show(name)) {
      titles.push_back(item.track_id == 0 ? "?" : item.track["title"].asString());
    }
    return titles;
  }
};

TEST_F(M3uImportTest, ImportsResolvesAndReports) {
  AddTrack(shared_library_, {.title = "one", .path = "/var/packages/music/rock/one.flac"});
  AddTrack(shared_library_, {.title = "two", .path = "/var/packages/music/two.flac"});
  AddTrack(shared_library_,
           {.title = "side 1", .path = "/var/packages/music/live.flac", .virtual_index = 1});
  AddTrack(shared_library_,
           {.title = "side 2", .path = "/var/packages/music/live.flac", .virtual_index = 2});
  AddTrack(alice_library_, {.title = "private", .path = "/var/packages/home/alice/p.flac"});
  sqlite::Statement sheet(
      Db(), "UPDATE tracks SET sheet_path = '/var/packages/music/live.cue' WHERE path = ?");
  sheet.Bind(1, "/var/packages/music/live.flac");
  sheet.Run();

  AddPlaylistFile("/var/packages/music/rock/Best.m3u",
                  "one.flac\n../two.flac\n/var/packages/music/live.flac\nmissing.flac\n"
                  "/var/packages/home/alice/p.flac\n../live.cue\n",
                  shared_library_);
  AddPlaylistFile("/var/packages/home/alice/Mine.m3u8", "p.flac\n", alice_library_);

  ImportReport report = ImportM3uPlaylists(Db());
  EXPECT_EQ(report.imported, 1);
  EXPECT_EQ(Shown("Best"),
            (std::vector<std::string>{"one", "two", "side 1", "side 2", "side 1", "side 2"}));
  ASSERT_EQ(report.problems.size(), 2u);
  EXPECT_EQ(report.problems[0],
            "/var/packages/music/rock/Best.m3u: no track for \"missing.flac\", skipped");
  EXPECT_NE(report.problems[1].find("p.flac"), std::string::npos);
  // Personal folders' playlist files are not shared playlists.
  EXPECT_EQ(PlaylistEditor(Db(), {0, "", ""}).List().size(), 1u);

  // Unchanged files are left alone; imported playlists are edited in their file.
  report = ImportM3uPlaylists(Db());
  EXPECT_EQ(report.imported, 0);
  EXPECT_EQ(report.unchanged, 1);
  PlaylistEditor editor(Db(), {0, "", ""});
  EXPECT_THROW(editor.Add("Best", {1}), PlaylistError);
  EXPECT_THROW(editor.Delete("Best"), PlaylistError);
}

TEST_F(M3uImportTest, ChangedFilesRefreshAndVanishedOnesGo) {
  AddTrack(shared_library_, {.title = "one", .path = "/var/packages/music/one.flac"});
  AddTrack(shared_library_, {.title = "two", .path = "/var/packages/music/two.flac"});
  PlaylistEditor(Db(), {0, "", ""}).Create("List");  // takes the name first
  const int64_t file =
      AddPlaylistFile("/var/packages/music/List.m3u8", "one.flac\n", shared_library_);
  ImportM3uPlaylists(Db());
  EXPECT_EQ(Shown("List (2)"), std::vector<std::string>{"one"});

  WriteFile("/var/packages/music/List.m3u8", "two.flac\none.flac\n");
  sqlite::Statement touch(Db(), "UPDATE playlist_files SET mtime_ns = 2 WHERE id = ?");
  touch.Bind(1, file);
  touch.Run();
  EXPECT_EQ(ImportM3uPlaylists(Db()).imported, 1);
  EXPECT_EQ(Shown("List (2)"), (std::vector<std::string>{"two", "one"}));

  sqlite::Statement forget(Db(), "DELETE FROM playlist_files WHERE id = ?");
  forget.Bind(1, file);
  forget.Run();
  auto list = PlaylistEditor(Db(), {0, "", ""}).List();
  ASSERT_EQ(list.size(), 1u);
  EXPECT_EQ(list[0].name, "List");
}

}  // namespace
}  // namespace Sonvik::playlist::testing
