// Voice search latency at 10^5 and 10^6 tracks, through HTTP against the real `sonvik serve`,
// beside a peer: a plain substring LIKE scan over the same rows in SQLite.
//
// Run it inside the test namespace (it runs `sonvik init`, adds a user and replaces the library
// database under /var/packages, which the namespace keeps private):
//   tests/run_in_namespace.sh build-release/bin/bench_search [--sizes 100000,1000000]
// Generated libraries are kept in <build>/bench-data/ and reused by later runs.
#include <sqlite3.h>
#include <time.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iomanip>
#include <iostream>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "bench/common/latencies.h"
#include "e2e/support/command.h"
#include "e2e/support/http_client.h"
#include "e2e/support/sonvik_server.h"
#include "e2e/support/test_machine.h"
#include "host/api/api_request.h"
#include "host/api/api_response.h"
#include "package/library/library_database.h"
#include "package/paths.h"
#include "query_mix.h"
#include "synthetic_library.h"
#include "voice_module/module/handlers.h"
#include "worker_memory.h"

namespace Sonvik::bench {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr const char* kBrowse = "QUOR.Sonvik.VoiceAssistant.Browse";
constexpr const char* kUser = "bench";
constexpr const char* kPassword = "bench password 1";
constexpr uint64_t kSeed = 20240611;

double Since(Clock::time_point start) { return MsSince(start); }

void Row(const std::string& label, const Latencies& l) { PrintLatencyRow(label, l, 44); }

void Header() {
  std::cout << "  " << std::left << std::setw(44) << "(milliseconds)" << std::right << std::setw(9)
            << "p50" << std::setw(9) << "p95" << std::setw(9) << "p99" << std::setw(10) << "max"
            << std::setw(7) << "n"
            << "\n";
}

void Check(bool ok, const std::string& what) {
  if (!ok) {
    std::cerr << "bench_search: " << what << "\n";
    std::exit(1);
  }
}

e2e::Params ParamsOf(const SpokenQuery& query, bool with_page) {
  e2e::Params params;
  if (!query.title.empty()) params.push_back({"title", query.title});
  if (!query.album.empty()) params.push_back({"album", query.album});
  if (!query.artist.empty()) params.push_back({"artist", query.artist});
  if (with_page) {
    params.push_back({"sort_by", query.sort_by});
    params.push_back({"offset", std::to_string(query.offset)});
    params.push_back({"limit", std::to_string(query.limit)});
  }
  return params;
}

std::string CachedDatabase(const fs::path& cache, int64_t tracks) {
  fs::create_directories(cache);
  const fs::path path = cache / ("library-" + std::to_string(tracks) + ".db");
  if (fs::exists(path)) return path;
  std::cerr << "Generating a library of " << tracks << " tracks into " << path << "\n";
  const fs::path partial = path.string() + ".partial";
  for (const char* suffix : {"", "-wal", "-shm"}) fs::remove(partial.string() + suffix);
  WriteLibraryDatabase(SyntheticLibrary(tracks, kSeed), partial);
  fs::rename(partial, path);
  return path;
}

// The cached library becomes the package's library database, owned by the service account.
void InstallDatabase(const std::string& cached) {
  library::CloseProcessLibraryDatabase();
  for (const char* suffix : {"", "-wal", "-shm"}) {
    fs::remove(std::string(paths::kLibraryDb) + suffix);
  }
  fs::copy_file(cached, paths::kLibraryDb);
  library::OpenLibraryDatabase(paths::kLibraryDb);  // hands the files over, then closes
}

struct HttpFigures {
  Latencies search;
  Latencies one_word;
  Latencies count;
  std::map<std::string, Latencies> by_shape;
  MemoryPeak memory;
  int found = 0;
};

HttpFigures MeasureHttp(const std::vector<SpokenQuery>& queries) {
  HttpFigures figures;
  e2e::SonvikServer server;
  Check(server.Start("2:4"), "the server did not start: " + server.startup_error());
  e2e::HttpClient client(server.base_url());
  const std::string sid = client.Login(kUser, kPassword);
  Check(!sid.empty(), "login failed");
  client.SetDefaultParams({{"_sid", sid}});
  // Warm-up: both workers open the database and fill their caches.
  for (size_t i = 0; i < std::min<size_t>(100, queries.size()); ++i) {
    client.Call(kBrowse, "search", ParamsOf(queries[i], true));
  }
  WorkerMemorySampler sampler([&server] { return server.WorkerPids(); });
  for (const SpokenQuery& query : queries) {
    const auto start = Clock::now();
    const e2e::HttpResponse response = client.Call(kBrowse, "search", ParamsOf(query, true));
    const double ms = Since(start);
    Check(response.Success(), "search failed: " + response.body);
    if (response.Json()["data"]["track"].size() > 0) ++figures.found;
    figures.search.Add(ms);
    figures.by_shape[ShapeName(query.shape)].Add(ms);
    if (query.words == 1) figures.one_word.Add(ms);
  }
  for (const SpokenQuery& query : queries) {
    const auto start = Clock::now();
    const e2e::HttpResponse response = client.Call(kBrowse, "count_search", ParamsOf(query, false));
    figures.count.Add(Since(start));
    Check(response.Success(), "count_search failed: " + response.body);
  }
  figures.memory = sampler.Stop();
  Check(server.Stop() == 0, "the server did not stop cleanly");
  return figures;
}

std::string Describe(const SpokenQuery& query) {
  std::string text = ShapeName(query.shape);
  if (!query.title.empty()) text += " title=\"" + query.title + "\"";
  if (!query.album.empty()) text += " album=\"" + query.album + "\"";
  if (!query.artist.empty()) text += " artist=\"" + query.artist + "\"";
  return text + " sort_by=" + query.sort_by + " offset=" + std::to_string(query.offset);
}

// The module's handler called directly: the same work without HTTP, sessions or dispatch.
// Prints the `slowest` slowest queries, to see where time goes.
struct InProcessFigures {
  Latencies wall;
  Latencies cpu;
};

InProcessFigures MeasureInProcess(const std::vector<SpokenQuery>& queries, size_t slowest) {
  InProcessFigures figures;
  std::vector<std::pair<double, const SpokenQuery*>> timed;
  QUOR::LoginInfo login;
  login.uid = 1024;
  for (const SpokenQuery& query : queries) {
    std::map<std::string, std::string> params;
    for (const auto& [name, value] : ParamsOf(query, true)) params[name] = value;
    QUOR::APIRequest request(params, login);
    QUOR::APIResponse response;
    const double cpu_start = ThreadCpuMs();
    const auto start = Clock::now();
    Sonvik::SearchAudio(&request, &response);
    const double ms = Since(start);
    const double cpu = ThreadCpuMs() - cpu_start;
    figures.wall.Add(ms);
    figures.cpu.Add(cpu);
    timed.push_back({cpu, &query});
    Check(response.state() == QUOR::APIResponse::State::kSuccess, "in-process search failed");
  }
  library::CloseProcessLibraryDatabase();
  std::sort(timed.rbegin(), timed.rend());
  for (size_t i = 0; i < std::min(slowest, timed.size()); ++i) {
    std::cout << "  slow: " << std::fixed << std::setprecision(2) << timed[i].first << " ms of CPU "
              << Describe(*timed[i].second) << "\n";
  }
  return figures;
}

// The peer: what a plain SQLite library does for "find titles containing these words".
Latencies MeasureLikeScan(const std::vector<SpokenQuery>& queries, size_t count) {
  Latencies latencies;
  sqlite3* db = nullptr;
  Check(sqlite3_open_v2(paths::kLibraryDb, &db, SQLITE_OPEN_READONLY, nullptr) == SQLITE_OK,
        "cannot open the library for the LIKE scan");
  sqlite3_stmt* stmt = nullptr;
  sqlite3_prepare_v2(db,
                     "SELECT id, title, album, artist FROM tracks WHERE title LIKE ?1 "
                     "ORDER BY id LIMIT 20",
                     -1, &stmt, nullptr);
  for (const SpokenQuery& query : queries) {
    if (latencies.size() >= count) break;
    if (query.title.empty()) continue;
    const std::string pattern = "%" + query.title + "%";
    const auto start = Clock::now();
    sqlite3_bind_text(stmt, 1, pattern.c_str(), -1, SQLITE_TRANSIENT);
    while (sqlite3_step(stmt) == SQLITE_ROW) {
    }
    sqlite3_reset(stmt);
    latencies.Add(Since(start));
  }
  sqlite3_finalize(stmt);
  sqlite3_close(db);
  return latencies;
}

void RunSize(const fs::path& cache, int64_t tracks, size_t query_count, size_t peer_count,
             size_t slowest) {
  const std::string cached = CachedDatabase(cache, tracks);
  InstallDatabase(cached);
  const SyntheticLibrary library(tracks, kSeed);
  const std::vector<SpokenQuery> queries = BuildQueryMix(library, query_count, kSeed + 1);

  std::cout << "\n"
            << tracks << " tracks (library database " << fs::file_size(cached) / 1000000 << " MB), "
            << queries.size()
            << " spoken queries of 1-6 words, sorted by track_id or album, 20 per page\n";
  const HttpFigures http = MeasureHttp(queries);
  const InProcessFigures in_process = MeasureInProcess(queries, slowest);
  const Latencies like = MeasureLikeScan(queries, peer_count);
  Header();
  Row("search via HTTP", http.search);
  Row("  one spoken word", http.one_word);
  for (const auto& [shape, latencies] : http.by_shape) Row("  " + shape, latencies);
  Row("count_search via HTTP", http.count);
  Row("search in process (module + engine)", in_process.wall);
  Row("  the same, CPU time of the thread", in_process.cpu);
  Row("peer: title LIKE '%phrase%' scan, SQLite", like);
  std::cout << "  searches that found tracks: " << http.found << " of " << queries.size() << "\n";
  std::cout << std::setprecision(1)
            << "  peer p50 / search p50: " << like.Percentile(50) / http.search.Percentile(50)
            << "x\n";
  std::cout << "  worker peak private memory: " << http.memory.private_kib / 1024.0
            << " MiB (dirty " << http.memory.private_dirty_kib / 1024.0 << " MiB), peak RSS "
            << http.memory.rss_kib / 1024.0 << " MiB\n";
}

}  // namespace
}  // namespace Sonvik::bench

int main(int argc, char** argv) {
  using namespace Sonvik;
  CLI::App app{"Voice search latency through HTTP, beside a SQLite LIKE scan"};
  std::vector<int64_t> sizes = {100000, 1000000};
  size_t queries = 2000;
  size_t peer = 40;
  size_t slowest = 0;
  std::string cache =
      (std::filesystem::read_symlink("/proc/self/exe").parent_path().parent_path() / "bench-data")
          .string();
  app.add_option("--sizes", sizes, "Library sizes in tracks")->delimiter(',');
  app.add_option("--queries", queries, "Spoken queries per size");
  app.add_option("--peer-queries", peer, "Queries the LIKE scan runs (it is slow)");
  app.add_option("--slowest", slowest, "Show the slowest in-process queries");
  app.add_option("--cache", cache, "Where generated libraries are kept between runs");
  CLI11_PARSE(app, argc, argv);

  e2e::PrepareTestMachine();
  bench::Check(e2e::RunSonvik({"init"}).exit_code == 0, "sonvik init failed");
  if (e2e::RunSonvik({"user", "list"}).out.find(bench::kUser) == std::string::npos) {
    bench::Check(e2e::RunSonvik({"user", "add", bench::kUser, "--password-stdin"},
                                std::string(bench::kPassword) + "\n")
                         .exit_code == 0,
                 "sonvik user add failed");
  }
  for (int64_t size : sizes) bench::RunSize(cache, size, queries, peer, slowest);
  return 0;
}
