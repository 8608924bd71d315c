// `sonvik scan [--full]`: reads the music folders into the library database, then makes shared
// playlists of the .m3u/.m3u8 files found.
#include <atomic>
#include <chrono>
#include <cstdio>
#include <stdexcept>
#include <string>

#include "cli/commands/commands.h"
#include "cli/library_access.h"
#include "cli/progress_line.h"
#include "cli/scan_progress_text.h"
#include "package/library/service_account_files.h"
#include "package/paths.h"
#include "package/playlist/m3u_import.h"
#include "package/scanner/library_scanner.h"
#include "package/scanner/scan_lock.h"
#include "package/sqlite/statement.h"

namespace Sonvik::cli {
namespace {

bool HasFolders(sqlite3* db) {
  sqlite::Statement count(db, "SELECT count(*) FROM libraries WHERE enabled = 1");
  return count.Step() && count.ColumnInt64(0) > 0;
}

void RunScan(bool full) {
  sqlite3* db = OpenLibraryForCli().get();
  const std::string lock_path = std::string(paths::kStateDir) + "/scan.lock";
  auto lock = scanner::ScanLock::TryAcquire(lock_path);
  if (!lock) throw std::runtime_error("another scan is running; wait for it to finish");
  library::GiveToServiceAccount(lock_path);
  if (!HasFolders(db)) {
    std::printf("No music folders to scan. Add one with `sonvik library add DIR`.\n");
  }

  scanner::ScanProgress progress;
  // Reading time starts when walking ends; the drawing thread notes that moment itself.
  std::chrono::steady_clock::time_point reading_start;
  bool reading = false;
  ProgressLine line([&] {
    if (!reading && !progress.walking) {
      reading = true;
      reading_start = std::chrono::steady_clock::now();
    }
    const double seconds =
        reading ? std::chrono::duration<double>(std::chrono::steady_clock::now() - reading_start)
                      .count()
                : 0;
    return ScanStatusLine(progress, seconds);
  });
  scanner::ScanOptions options;
  options.full = full;
  const scanner::ScanSummary summary = scanner::ScanLibrary(
      db, options, &progress, [&line](const std::string& path, const std::string& message) {
        line.PrintAbove("sonvik scan: skipped " + path + ": " + message);
      });
  line.Stop();
  std::printf("%s\n", ScanSummaryLine(summary).c_str());

  // The .m3u/.m3u8 files just noted become shared playlists.
  const playlist::ImportReport imported = playlist::ImportM3uPlaylists(db);
  for (const std::string& problem : imported.problems) {
    std::fprintf(stderr, "sonvik scan: playlist %s\n", problem.c_str());
  }
  if (imported.imported > 0) {
    std::printf("Imported %d shared playlist(s) from playlist files.\n", imported.imported);
  }
}

}  // namespace

void RegisterScanCommand(CLI::App& app) {
  CLI::App* scan = app.add_subcommand(
      "scan",
      "Read new and changed music files into the library (add folders first with "
      "`sonvik library add DIR`)");
  auto full = std::make_shared<bool>(false);
  scan->add_flag("--full", *full, "Read every file again, even those that did not change");
  scan->callback([full] { RunScan(*full); });
}

}  // namespace Sonvik::cli
