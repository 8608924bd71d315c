// A scan killed part-way (SIGKILL, no chance to clean up) and run again ends with every track
// exactly once and a sound database.
#include <gtest/gtest.h>

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <thread>

#include "package/library/library_database.h"
#include "package/paths.h"
#include "package/sqlite/database.h"
#include "package/sqlite/statement.h"
#include "unit/scanner/scan_fixture.h"

namespace Sonvik::scanner::testing {
namespace {

constexpr int kFiles = 6000;

// Tracks committed so far, read through a connection of our own; -1 before the schema exists.
int64_t CommittedTracks() {
  try {
    sqlite::Database db(paths::kLibraryDb, SQLITE_OPEN_READONLY);
    db.SetBusyTimeout(1000);
    sqlite::Statement count(db.get(), "SELECT count(*) FROM tracks");
    return count.Step() ? count.ColumnInt64(0) : -1;
  } catch (const std::exception&) {
    return -1;
  }
}

using KilledScan = ScanTest;

TEST_F(KilledScan, RescanAfterSigkillHasEveryTrackOnce) {
  const char* build = std::getenv("SONVIK_BUILD_DIR");
  ASSERT_NE(build, nullptr) << "SONVIK_BUILD_DIR must name the build folder";
  const std::string sonvik = std::string(build) + "/bin/sonvik";
  // Copies of one small file: reading them costs the same as distinct files.
  MakeAudioFile(music_ / "seed.mp3", 0.2, {{"title", "Seed"}});
  for (int d = 0; d < 20; ++d) fs::create_directories(music_ / ("d" + std::to_string(d)));
  for (int i = 0; i < kFiles; ++i) {
    fs::copy_file(music_ / "seed.mp3",
                  music_ / ("d" + std::to_string(i % 20)) / ("f" + std::to_string(i) + ".mp3"),
                  fs::copy_options::none);
  }
  fs::remove(music_ / "seed.mp3");
  AddShared(music_);
  library::CloseProcessLibraryDatabase();

  const pid_t pid = fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    // Quiet: the test only cares about the database.
    freopen("/dev/null", "w", stdout);
    execl(sonvik.c_str(), "sonvik", "scan", static_cast<char*>(nullptr));
    _exit(127);
  }
  // Kill as soon as some batches are committed, well before the end.
  int64_t committed = -1;
  for (int i = 0; i < 20000 && committed < 1000; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    committed = CommittedTracks();
    int status = 0;
    if (waitpid(pid, &status, WNOHANG) == pid) FAIL() << "the scan ended before it was killed";
  }
  ASSERT_EQ(kill(pid, SIGKILL), 0);
  int status = 0;
  ASSERT_EQ(waitpid(pid, &status, 0), pid);
  ASSERT_TRUE(WIFSIGNALED(status));
  const int64_t after_kill = CommittedTracks();
  EXPECT_GT(after_kill, 0);
  EXPECT_LT(after_kill, kFiles) << "killed too late to test anything";

  const ScanRun rescan = Scan();
  EXPECT_EQ(rescan.summary.files, kFiles);
  EXPECT_EQ(rescan.summary.unchanged, after_kill);
  EXPECT_EQ(Count("SELECT count(*) FROM tracks"), kFiles);
  EXPECT_EQ(Count("SELECT count(DISTINCT path) FROM tracks"), kFiles);
  EXPECT_EQ(Column("PRAGMA integrity_check"), std::vector<std::string>{"ok"});
  EXPECT_EQ(Scan().summary.unchanged, kFiles);
}

}  // namespace
}  // namespace Sonvik::scanner::testing
