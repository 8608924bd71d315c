#pragma once
// The first half of a scan: from each walked folder, decides which files are unchanged (their
// rows are marked found) and which must be read, and which CUE sheets split which audio files.
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "package/scanner/folder_walker.h"
#include "package/scanner/known_files.h"
#include "package/scanner/read_job.h"

namespace Sonvik::scanner {

struct PlaylistFileUpdate {
  int64_t library_id = 0;
  WalkedFile file;
};

class ScanPlanner {
 public:
  using ProblemReporter = std::function<void(const std::string& path, const std::string& message)>;

  // `full`: read every file again, changed or not.
  ScanPlanner(KnownFiles& known, bool full, ProblemReporter report)
      : known_(known), full_(full), report_(std::move(report)) {}

  // Plans one folder of library `library_id`.
  void PlanFolder(int64_t library_id, const std::vector<WalkedFile>& files);

  std::vector<ReadJob>& jobs() { return jobs_; }
  std::vector<PlaylistFileUpdate>& playlist_updates() { return playlist_updates_; }
  int64_t audio_files() const { return audio_files_; }
  int64_t unchanged_files() const { return unchanged_files_; }
  int64_t playlist_files() const { return playlist_files_; }

 private:
  // Parses the folder's sheets; answers, per audio file of `files`, the sheet part splitting it.
  std::vector<std::optional<SheetPart>> SplitBySheets(const std::vector<WalkedFile>& files);
  bool IsUnchanged(int64_t library_id, const WalkedFile& file, const SheetPart* part);

  KnownFiles& known_;
  bool full_;
  ProblemReporter report_;
  std::vector<ReadJob> jobs_;
  std::vector<PlaylistFileUpdate> playlist_updates_;
  int64_t audio_files_ = 0;
  int64_t unchanged_files_ = 0;
  int64_t playlist_files_ = 0;
};

}  // namespace Sonvik::scanner
