#include "package/scanner/library_scanner.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <set>
#include <span>
#include <thread>
#include <vector>

#include "package/scanner/folder_walker.h"
#include "package/scanner/known_files.h"
#include "package/scanner/parallel_tag_reader.h"
#include "package/scanner/scan_planner.h"
#include "package/scanner/track_writer.h"
#include "package/search/search_index.h"
#include "package/sqlite/statement.h"
#include "package/sqlite/transaction.h"

namespace Sonvik::scanner {
namespace {

// Removals are cheap; bigger batches keep the number of commits down.
constexpr size_t kRemovalBatch = 2000;

struct Folder {
  int64_t id;
  std::string path;
  bool enabled;
};

std::vector<Folder> LoadFolders(sqlite3* db) {
  sqlite::Statement select(db, "SELECT id, path, enabled FROM libraries ORDER BY owner_uid, id");
  std::vector<Folder> folders;
  while (select.Step()) {
    folders.push_back(
        {select.ColumnInt64(0), std::string(select.ColumnText(1)), select.ColumnInt(2) != 0});
  }
  return folders;
}

// Marks the known row (path, virtual index) found; answers whether there was one.
bool MarkRowSeen(KnownFiles& known, const TrackRow& row) {
  std::vector<KnownTrack>* rows = known.Tracks(row.path);
  if (rows == nullptr) return false;
  for (KnownTrack& known_row : *rows) {
    if (known_row.virtual_index == row.virtual_index) {
      known_row.seen = true;
      return true;
    }
  }
  return false;
}

class Scan {
 public:
  Scan(sqlite3* db, const ScanOptions& options, ScanProgress* progress,
       const ScanProblemReporter& report)
      : db_(db), options_(options), progress_(progress), report_(report) {}

  ScanSummary Run() {
    const auto start = std::chrono::steady_clock::now();
    known_.Load(db_);
    ScanPlanner planner(
        known_, options_.full,
        [this](const std::string& path, const std::string& message) { Problem(path, message); });
    WalkFolders(planner);
    summary_.files = planner.audio_files();
    summary_.unchanged = planner.unchanged_files();
    summary_.playlist_files = planner.playlist_files();
    progress_->files_to_read = static_cast<int64_t>(planner.jobs().size());
    progress_->walking = false;
    ReadAndWrite(planner.jobs());
    RemoveVanished(planner.playlist_updates());
    summary_.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return summary_;
  }

 private:
  void Problem(const std::string& path, const std::string& message) {
    ++summary_.problems;
    report_(path, message);
  }

  void WalkFolders(ScanPlanner& planner) {
    const std::vector<Folder> folders = LoadFolders(db_);
    std::set<std::string> roots;
    for (const Folder& folder : folders) roots.insert(folder.path);
    for (const Folder& folder : folders) {
      if (!folder.enabled) continue;  // its tracks are removed below
      std::set<std::string> others = roots;
      others.erase(folder.path);
      WalkCallbacks callbacks;
      callbacks.on_folder = [&](const std::string&, const std::vector<WalkedFile>& files) {
        planner.PlanFolder(folder.id, files);
        progress_->files_found = planner.audio_files();
      };
      callbacks.on_unreadable = [&](const std::string& path, const std::string& message) {
        Problem(path, "cannot read folder: " + message);
        // Unknown is not gone: keep what was recorded below it.
        known_.MarkSeenBelow(path);
      };
      WalkMusicFolder(folder.path, others, callbacks);
    }
  }

  void ReadAndWrite(const std::vector<ReadJob>& jobs) {
    if (jobs.empty()) return;
    TrackWriter writer(db_);
    const int threads = options_.reader_threads > 0
                            ? options_.reader_threads
                            : static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    const size_t batch = static_cast<size_t>(std::max(options_.batch_size, 1));
    auto read = [&, threads](size_t begin) {
      const size_t count = std::min(batch, jobs.size() - begin);
      return ReadTagsInParallel(std::span(jobs).subspan(begin, count), threads,
                                &progress_->files_read);
    };
    // The next batch is read while this one is written.
    std::future<std::vector<ReadResult>> next = std::async(std::launch::async, read, 0);
    for (size_t begin = 0; begin < jobs.size(); begin += batch) {
      std::vector<ReadResult> results = next.get();
      if (begin + batch < jobs.size()) next = std::async(std::launch::async, read, begin + batch);
      sqlite::Transaction transaction(db_);
      search::SearchIndexBatch index_batch(db_);
      for (size_t i = 0; i < results.size(); ++i) Write(writer, jobs[begin + i], results[i]);
      index_batch.Flush();
      transaction.Commit();
    }
  }

  void Write(TrackWriter& writer, const ReadJob& job, const ReadResult& result) {
    if (!result.tags) {
      ++summary_.unreadable;
      Problem(job.file.path, result.error);
      return;  // its old rows, if any, are left unmarked and removed at the end
    }
    ++summary_.read;
    for (const TrackRow& row : MakeTrackRows(job, *result.tags)) {
      const bool existed = MarkRowSeen(known_, row);
      writer.UpsertTrack(row);
      ++(existed ? summary_.tracks_updated : summary_.tracks_added);
    }
  }

  void RemoveVanished(const std::vector<PlaylistFileUpdate>& playlist_updates) {
    TrackWriter writer(db_);
    {
      sqlite::Transaction transaction(db_);
      for (const PlaylistFileUpdate& update : playlist_updates) {
        writer.UpsertPlaylistFile(update.library_id, update.file.path, update.file.size,
                                  update.file.mtime_ns);
      }
      for (int64_t id : known_.UnseenPlaylistFileIds()) writer.DeletePlaylistFile(id);
      transaction.Commit();
    }
    const std::vector<int64_t> gone = known_.UnseenTrackIds();
    for (size_t begin = 0; begin < gone.size(); begin += kRemovalBatch) {
      sqlite::Transaction transaction(db_);
      const size_t end = std::min(gone.size(), begin + kRemovalBatch);
      for (size_t i = begin; i < end; ++i) writer.DeleteTrack(gone[i]);
      transaction.Commit();
    }
    summary_.tracks_removed = static_cast<int64_t>(gone.size());
  }

  sqlite3* db_;
  const ScanOptions& options_;
  ScanProgress* progress_;
  const ScanProblemReporter& report_;
  KnownFiles known_;
  ScanSummary summary_;
};

}  // namespace

ScanSummary ScanLibrary(sqlite3* db, const ScanOptions& options, ScanProgress* progress,
                        const ScanProblemReporter& report) {
  ScanProgress unused;
  return Scan(db, options, progress != nullptr ? progress : &unused, report).Run();
}

}  // namespace Sonvik::scanner
