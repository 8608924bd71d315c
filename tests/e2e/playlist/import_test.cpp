// Playlist files in a shared music folder: scanned, imported, then found by their spoken name.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "e2e/support/server_test.h"

namespace Sonvik::e2e {
namespace {

namespace fs = std::filesystem;

constexpr const char* kBrowse = "QUOR.Sonvik.VoiceAssistant.Browse";
constexpr const char* kMusic = "/var/packages/e2e-music";

class PlaylistImportTest : public ServerTest {
 protected:
  void PreparePackage() override {
    fs::remove_all(kMusic);
    fs::create_directories(std::string(kMusic) + "/album");
    for (const char* title : {"First Song", "Second Song"}) {
      const CommandResult made =
          RunProgram("/usr/bin/ffmpeg",
                     {"-hide_banner", "-loglevel", "error", "-y", "-f", "lavfi", "-i",
                      "anullsrc=r=44100:cl=mono", "-t", "0.3", "-metadata",
                      std::string("title=") + title, "-metadata", "artist=Someone", "-metadata",
                      "album=Album", std::string(kMusic) + "/album/" + title + ".flac"});
      ASSERT_EQ(made.exit_code, 0) << made.err;
    }
    // Relative, absolute and missing entries.
    std::ofstream(std::string(kMusic) + "/Sunday Morning.m3u")
        << "#EXTM3U\nalbum/Second Song.flac\n"
        << kMusic << "/album/First Song.flac\nalbum/Gone.flac\n";
    RunSonvikOrFail({"library", "add", kMusic});
    scan_ = RunSonvikOrFail({"scan"});
    import_again_ = RunSonvikOrFail({"playlist", "import"});
  }

  CommandResult scan_;
  CommandResult import_again_;
};

TEST_F(PlaylistImportTest, ScannedPlaylistFileIsFoundBySpokenName) {
  // The scan imports what it found; importing again finds nothing changed.
  EXPECT_NE(scan_.out.find("Imported 1 shared playlist(s)"), std::string::npos) << scan_.out;
  EXPECT_NE(import_again_.out.find("Imported 0 playlist file(s); 1 unchanged."), std::string::npos)
      << import_again_.out;
  EXPECT_NE(scan_.err.find("no track for \"album/Gone.flac\""), std::string::npos) << scan_.err;

  HttpResponse response =
      LoggedInClient()->Call(kBrowse, "search_playlist",
                             {{"keyword", "sunday morning"}, {"offset", "0"}, {"limit", "10"}});
  ASSERT_TRUE(response.Success()) << response.body;
  const Json::Value data = response.Json()["data"];
  std::vector<std::string> titles;
  for (const auto& track : data["track"]) titles.push_back(track["title"].asString());
  EXPECT_EQ(titles, (std::vector<std::string>{"Second Song", "First Song"}));
  EXPECT_EQ(data["count"].asInt(), 2);
  EXPECT_EQ(data["track"][0]["container"].asString(), "flac");

  // Imported playlists are edited in their file.
  const CommandResult refused = RunSonvik({"playlist", "add", "Sunday Morning", "1"});
  EXPECT_NE(refused.exit_code, 0);
  EXPECT_NE(refused.err.find("edit that file"), std::string::npos) << refused.err;
}

}  // namespace
}  // namespace Sonvik::e2e
