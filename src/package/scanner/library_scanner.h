#pragma once
// `sonvik scan`: brings the library database in line with the music folders.
//
// A scan walks every shared folder and every enabled personal folder, reads the files that are
// new or changed (size or mtime), writes them in batches of one transaction each, and at the end
// removes the tracks whose files are gone (and those of folders no longer scanned). Killed at any
// point, the database holds every batch committed so far and no duplicate; the next scan
// finishes the job.
#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

struct sqlite3;

namespace Sonvik::scanner {

struct ScanOptions {
  bool full = false;       // read every file again, changed or not
  int reader_threads = 0;  // 0: one per processor
  int batch_size = 500;    // files per transaction
};

// Counters a progress display may read from another thread while the scan runs.
struct ScanProgress {
  std::atomic<bool> walking{true};        // false once every folder has been walked
  std::atomic<int64_t> files_found{0};    // audio files found so far
  std::atomic<int64_t> files_to_read{0};  // new or changed files, known once walking is done
  std::atomic<int64_t> files_read{0};
};

struct ScanSummary {
  int64_t files = 0;       // audio files found
  int64_t unchanged = 0;   // skipped: same size and mtime as recorded
  int64_t read = 0;        // read successfully
  int64_t unreadable = 0;  // reported and skipped
  int64_t tracks_added = 0;
  int64_t tracks_updated = 0;
  int64_t tracks_removed = 0;
  int64_t playlist_files = 0;  // .m3u/.m3u8 files found
  int64_t problems = 0;        // everything reported, unreadable files included
  double seconds = 0;
};

// Called on the scanning thread for each file or folder that is skipped and why.
using ScanProblemReporter =
    std::function<void(const std::string& path, const std::string& message)>;

// Scans into the library database `db` (migrated, see library_database.h). Throws
// sqlite::Error when the database fails; bad files are reported and never stop the scan.
ScanSummary ScanLibrary(sqlite3* db, const ScanOptions& options, ScanProgress* progress,
                        const ScanProblemReporter& report);

}  // namespace Sonvik::scanner
