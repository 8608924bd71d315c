// search_playlist latency with 1,000 playlists of 100 tracks, through HTTP against the real
// `sonvik serve`, beside a peer: MPD answering listplaylistinfo for the same playlists.
//
// Run it inside the test namespace (it runs `sonvik init`, adds a user and writes the library
// under /var/packages, which the namespace keeps private):
//   tests/run_in_namespace.sh build-release/bin/bench_playlist [--queries 2000]
#include <time.h>
#include <CLI/CLI.hpp>

#include <algorithm>
#include <chrono>
#include <iomanip>
#include <iostream>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "bench/common/latencies.h"
#include "e2e/support/command.h"
#include "e2e/support/http_client.h"
#include "e2e/support/sonvik_server.h"
#include "e2e/support/test_machine.h"
#include "host/api/api_request.h"
#include "host/api/api_response.h"
#include "mpd_peer.h"
#include "package/library/library_database.h"
#include "package/paths.h"
#include "playlist_fixture.h"
#include "voice_module/module/handlers.h"

namespace Sonvik::bench {
namespace {

using Clock = std::chrono::steady_clock;

constexpr const char* kBrowse = "QUOR.Sonvik.VoiceAssistant.Browse";
constexpr const char* kUser = "bench";
constexpr const char* kPassword = "bench password 1";

double Since(Clock::time_point start) { return MsSince(start); }

void Check(bool ok, const std::string& what) {
  if (!ok) {
    std::cerr << "bench_playlist: " << what << "\n";
    std::exit(1);
  }
}

void Row(const std::string& label, const Latencies& l) { PrintLatencyRow(label, l, 46); }

struct Query {
  std::string label;
  std::string keyword;
  const PlaylistName* exact = nullptr;  // the playlist an exact query names
};

std::string Lower(std::string text) {
  for (char& c : text) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  return text;
}

const char* SourceLabel(PlaylistName::Source source) {
  switch (source) {
    case PlaylistName::kOwnNormal:
      return "exact: own normal (file)";
    case PlaylistName::kOwnSmart:
      return "exact: own smart";
    case PlaylistName::kSharedNormal:
      return "exact: shared normal";
    case PlaylistName::kSharedSmart:
      return "exact: shared smart";
  }
  return "";
}

// Spoken names as the voice service sends them: 60% a whole name, 30% two of its words (found in
// part, the first candidate wins), 10% nothing that matches (every source listed, no tracks).
std::vector<Query> QueryMix(const BenchLibrary& library, size_t count) {
  std::mt19937 random(11);
  std::vector<Query> queries;
  for (size_t i = 0; i < count; ++i) {
    const auto& playlist = library.playlists[random() % library.playlists.size()];
    const unsigned kind = random() % 10;
    if (kind < 6) {
      queries.push_back({SourceLabel(playlist.source), Lower(playlist.name), &playlist});
    } else if (kind < 9) {
      queries.push_back({"partial: two words", playlist.name.substr(0, playlist.name.rfind(' '))});
    } else {
      queries.push_back({"no match", "polka marathon"});
    }
  }
  return queries;
}

e2e::Params Page(const std::string& name, const std::string& value, int offset, int limit) {
  return {{name, value}, {"offset", std::to_string(offset)}, {"limit", std::to_string(limit)}};
}

}  // namespace
}  // namespace Sonvik::bench

int main(int argc, char** argv) {
  using namespace Sonvik;
  using namespace Sonvik::bench;
  CLI::App app{"search_playlist latency through HTTP, beside MPD's listplaylistinfo"};
  int playlists = 1000;
  int per_playlist = 100;
  int tracks = 20000;
  size_t query_count = 2000;
  int limit = 100;
  app.add_option("--playlists", playlists, "Playlists in all four sources");
  app.add_option("--per-playlist", per_playlist, "Tracks per playlist");
  app.add_option("--tracks", tracks, "Tracks in the library");
  app.add_option("--queries", query_count, "Spoken playlist names to search");
  app.add_option("--limit", limit, "Tracks per page");
  CLI11_PARSE(app, argc, argv);

  e2e::PrepareTestMachine();
  Check(e2e::RunSonvik({"init"}).exit_code == 0, "sonvik init failed");
  Check(e2e::RunSonvik({"user", "add", kUser, "--password-stdin"}, std::string(kPassword) + "\n")
                .exit_code == 0,
        "sonvik user add failed");
  const std::string preference_dir = std::string(paths::kUsersDir) + "/" + kUser;
  std::cerr << "Writing " << tracks << " tracks and " << playlists << " playlists...\n";
  const BenchLibrary library = BuildBenchLibrary(tracks, playlists, per_playlist, preference_dir);
  library::CloseProcessLibraryDatabase();
  const std::vector<Query> queries = QueryMix(library, query_count);

  // Through HTTP.
  std::map<std::string, Latencies> by_label;
  Latencies search, get_page;
  std::vector<std::string> ids;
  {
    e2e::SonvikServer server;
    Check(server.Start("2:4"), "the server did not start: " + server.startup_error());
    e2e::HttpClient client(server.base_url());
    const std::string sid = client.Login(kUser, kPassword);
    Check(!sid.empty(), "login failed");
    client.SetDefaultParams({{"_sid", sid}});
    for (size_t i = 0; i < std::min<size_t>(50, queries.size()); ++i) {
      client.Call(kBrowse, "search_playlist", Page("keyword", queries[i].keyword, 0, limit));
    }
    for (const Query& query : queries) {
      const auto start = Clock::now();
      auto response =
          client.Call(kBrowse, "search_playlist", Page("keyword", query.keyword, 0, limit));
      const double ms = Since(start);
      Check(response.Success(), "search_playlist failed: " + response.body);
      const Json::Value data = response.Json()["data"];
      if (query.label != "no match") {
        Check(data["track"].size() > 0, "no tracks for \"" + query.keyword + "\"");
        ids.push_back(data["playlist_id"].asString());
      }
      search.Add(ms);
      by_label[query.label].Add(ms);
    }
    std::mt19937 random(5);
    for (const std::string& id : ids) {
      const int offset = static_cast<int>(random() % 5) * 20;
      const auto start = Clock::now();
      auto response = client.Call(kBrowse, "get_playlist", Page("playlist_id", id, offset, 20));
      get_page.Add(Since(start));
      Check(response.Success(), "get_playlist failed: " + response.body);
    }
    Check(server.Stop() == 0, "the server did not stop cleanly");
  }

  // The module's handler in this process: the same work without HTTP.
  Latencies in_process_cpu;
  {
    QUOR::LoginInfo login{1024, kUser, preference_dir};
    for (const Query& query : queries) {
      QUOR::APIRequest request(
          {{"keyword", query.keyword}, {"offset", "0"}, {"limit", std::to_string(limit)}}, login);
      QUOR::APIResponse response;
      const double start = ThreadCpuMs();
      Sonvik::SearchAudioByPlaylistName(&request, &response);
      in_process_cpu.Add(ThreadCpuMs() - start);
    }
    library::CloseProcessLibraryDatabase();
  }

  // The peer: MPD with the same normal playlists as stored playlists.
  Latencies mpd;
  {
    std::vector<std::pair<std::string, std::vector<std::string>>> stored;
    for (size_t p = 0; p < library.playlists.size(); ++p) {
      const auto& items = library.normal_items[p];
      if (items.empty()) continue;
      std::vector<std::string> songs;
      for (int track : items) songs.push_back(library.track_paths[track]);
      stored.emplace_back(library.playlists[p].name, songs);
    }
    std::cerr << "Starting MPD and waiting for its database update...\n";
    MpdPeer peer("/var/packages/bench-mpd", library.music_folder, stored);
    for (const Query& query : queries) {
      if (query.exact == nullptr || (query.exact->source != PlaylistName::kOwnNormal &&
                                     query.exact->source != PlaylistName::kSharedNormal)) {
        continue;
      }
      const auto start = Clock::now();
      const int songs = peer.Command("listplaylistinfo " + MpdQuote(query.exact->name));
      mpd.Add(Since(start));
      Check(songs == per_playlist, "mpd answered " + std::to_string(songs) + " songs");
    }
  }

  std::cout << "\n"
            << library.playlists.size() << " playlists of " << per_playlist << " tracks (" << tracks
            << " tracks in the library), " << queries.size() << " spoken names, pages of " << limit
            << " tracks\n";
  std::cout << "  " << std::left << std::setw(46) << "(milliseconds)" << std::right << std::setw(9)
            << "p50" << std::setw(9) << "p95" << std::setw(9) << "p99" << std::setw(10) << "max"
            << std::setw(7) << "n\n";
  Row("search_playlist via HTTP", search);
  for (const auto& [label, latencies] : by_label) Row("  " + label, latencies);
  Row("get_playlist via HTTP (pages of 20)", get_page);
  Row("search_playlist in process, CPU time", in_process_cpu);
  Row("peer: MPD listplaylistinfo (exact, normal)", mpd);
  std::cout << std::setprecision(2) << "  search_playlist p99 goal 20 ms: "
            << (search.Percentile(99) <= 20 ? "met" : "missed") << "\n"
            << "  search_playlist p50 / MPD p50: "
            << search.Percentile(50) / std::max(mpd.Percentile(50), 1e-6) << "x\n";
  return 0;
}
