// Scan benchmark: `sonvik scan` against MPD's database update over the same few thousand small
// tagged files, in the same run: the first scan into an empty database, and a rescan with nothing
// changed. Each is timed several times, alternating which of the two goes first; medians are
// printed with files/s and the ratio.
//
// Usage: build-release/bin/bench_scan [--files N] [--rounds R]
// Use a Release build, as root. It runs itself inside tests/run_in_namespace.sh, so `sonvik init`
// and the databases vanish with it; the generated files stay in /tmp/sonvik-scan-bench-N for the
// next run.
#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "bench/common/child_process.h"
#include "bench/common/test_namespace.h"
#include "bench_corpus.h"
#include "mpd_peer.h"

namespace Sonvik::bench {
namespace {

namespace fs = std::filesystem;

constexpr const char* kStateDir = "/var/packages/Sonvik/var";
constexpr const char* kLibraryDb = "/var/packages/Sonvik/var/library.db";
constexpr int kMpdPort = 16600;

struct Options {
  int files = 4000;
  int rounds = 3;
};

struct Timings {
  std::vector<double> first;
  std::vector<double> rescan;
};

// `sonvik scan` timed twice: the whole command (process start, loading its libraries, opening the
// database) and the scan itself as the command reports it, which is what MPD's update, running
// inside an already started daemon, compares with.
struct SonvikTimings {
  Timings command;
  Timings scan;
};

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  return values[values.size() / 2];
}

std::string Sonvik() { return fs::read_symlink("/proc/self/exe").parent_path() / "sonvik"; }

long CountTracks() {
  sqlite3* db = nullptr;
  long count = -1;
  if (sqlite3_open_v2(kLibraryDb, &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK) {
    sqlite3_stmt* stmt = nullptr;
    if (sqlite3_prepare_v2(db, "SELECT count(*) FROM tracks", -1, &stmt, nullptr) == SQLITE_OK &&
        sqlite3_step(stmt) == SQLITE_ROW) {
      count = sqlite3_column_int64(stmt, 0);
    }
    sqlite3_finalize(stmt);
  }
  sqlite3_close(db);
  return count;
}

// Runs `sonvik scan`; answers the command's wall time and sets `*reported` to the seconds its
// summary line gives ("Scanned N audio files in S s ...").
double TimeSonvikScan(double* reported) {
  const std::string log = "/var/packages/bench-sonvik.log";
  fs::remove(log);
  const double start = Now();
  if (!Run({Sonvik(), "scan"}, log)) {
    std::fprintf(stderr, "sonvik scan failed: see %s\n", log.c_str());
    std::exit(1);
  }
  const double elapsed = Now() - start;
  std::string text(4096, '\0');
  std::FILE* file = std::fopen(log.c_str(), "r");
  text.resize(file != nullptr ? std::fread(text.data(), 1, text.size(), file) : 0);
  if (file != nullptr) std::fclose(file);
  const size_t at = text.find(" audio files in ");
  if (at == std::string::npos) {
    std::fprintf(stderr, "no summary line from sonvik scan:\n%s", text.c_str());
    std::exit(1);
  }
  *reported = std::strtod(text.c_str() + at + std::strlen(" audio files in "), nullptr);
  return elapsed;
}

void SonvikRound(const std::string& music, int files, SonvikTimings* timings) {
  for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(std::string(kLibraryDb) + suffix);
  if (!Run({Sonvik(), "library", "add", music})) {
    std::fprintf(stderr, "sonvik library add failed\n");
    std::exit(1);
  }
  double reported = 0;
  timings->command.first.push_back(TimeSonvikScan(&reported));
  timings->scan.first.push_back(reported);
  if (CountTracks() != files) {
    std::fprintf(stderr, "sonvik found %ld tracks, not %d\n", CountTracks(), files);
    std::exit(1);
  }
  timings->command.rescan.push_back(TimeSonvikScan(&reported));
  timings->scan.rescan.push_back(reported);
}

void MpdRound(const std::string& music, int files, Timings* timings) {
  MpdPeer mpd(music, "/var/packages/bench-mpd", kMpdPort);
  timings->first.push_back(mpd.TimeUpdate());
  if (mpd.Songs() != files) {
    std::fprintf(stderr, "mpd found %ld songs, not %d\n", mpd.Songs(), files);
    std::exit(1);
  }
  timings->rescan.push_back(mpd.TimeUpdate());
}

// Reads every file once so that neither side pays for the disk.
void WarmPageCache(const std::string& music) {
  std::vector<char> buffer(1 << 16);
  for (const auto& entry : fs::recursive_directory_iterator(music)) {
    if (!entry.is_regular_file()) continue;
    std::ifstream in(entry.path(), std::ios::binary);
    while (in.read(buffer.data(), static_cast<std::streamsize>(buffer.size()))) {
    }
  }
}

int RunBenchmark(const Options& options) {
  std::printf("Making or reusing %d tagged files (mp3, flac, ogg, m4a)...\n", options.files);
  std::fflush(stdout);
  const std::string music = EnsureCorpus(options.files);
  WarmPageCache(music);
  if (!bench::Run({Sonvik(), "init"}, "/var/packages/bench-init.log")) {
    fs::create_directories(kStateDir);  // an older tree without init: the folder is enough
  }
  SonvikTimings sonvik;
  Timings mpd;
  for (int round = 0; round < options.rounds; ++round) {
    if (round % 2 == 0) {
      SonvikRound(music, options.files, &sonvik);
      MpdRound(music, options.files, &mpd);
    } else {
      MpdRound(music, options.files, &mpd);
      SonvikRound(music, options.files, &sonvik);
    }
  }
  const double n = options.files;
  auto line = [n](const char* who, const Timings& t) {
    std::printf("%-24s %8.3f s %9.0f files/s   %8.3f s %9.0f files/s\n", who, Median(t.first),
                n / Median(t.first), Median(t.rescan), n / Median(t.rescan));
  };
  std::printf("\nScan of %d files in %s, median of %d rounds (%u processors)\n", options.files,
              music.c_str(), options.rounds,
              std::max(1u, static_cast<unsigned>(sysconf(_SC_NPROCESSORS_ONLN))));
  std::printf("%-24s %28s   %28s\n", "", "first scan", "rescan, nothing changed");
  line("sonvik scan (command)", sonvik.command);
  line("sonvik scan (scan)", sonvik.scan);
  line("mpd update", mpd);
  auto ratio = [&mpd](const char* who, const Timings& t) {
    std::printf("%-24s %18.2fx %30.2fx\n", who, Median(mpd.first) / Median(t.first),
                Median(mpd.rescan) / Median(t.rescan));
  };
  ratio("speed-up (command)", sonvik.command);
  ratio("speed-up (scan)", sonvik.scan);
  std::printf("(speed-up: sonvik files/s over mpd files/s; above 1 is faster than mpd)\n");
  return 0;
}

}  // namespace
}  // namespace Sonvik::bench

int main(int argc, char** argv) {
  Sonvik::bench::EnterTestNamespace(argc, argv, SONVIK_SOURCE_DIR);
  Sonvik::bench::Options options;
  for (int i = 1; i < argc; ++i) {
    const std::string arg = argv[i];
    if ((arg == "--files" || arg == "--rounds") && i + 1 < argc) {
      const int value = std::atoi(argv[++i]);
      if (value <= 0) {
        std::fprintf(stderr, "%s needs a positive number\n", arg.c_str());
        return 2;
      }
      (arg == "--files" ? options.files : options.rounds) = value;
    } else {
      std::fprintf(stderr, "usage: %s [--files N] [--rounds R]\n", argv[0]);
      return 2;
    }
  }
  return Sonvik::bench::RunBenchmark(options);
}
