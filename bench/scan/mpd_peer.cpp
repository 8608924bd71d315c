#include "mpd_peer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "bench/common/child_process.h"

namespace Sonvik::bench {
namespace {

namespace fs = std::filesystem;

[[noreturn]] void Die(const std::string& message) {
  std::fprintf(stderr, "mpd peer: %s\n", message.c_str());
  std::exit(1);
}

int Connect(int port) {
  // MPD needs a moment to open its port; try for up to ten seconds.
  for (int attempt = 0; attempt < 1000; ++attempt) {
    const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) == 0) return fd;
    close(fd);
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  Die("no answer on port " + std::to_string(port) + " (see the log in the work folder)");
}

bool LastLineStartsWith(const std::string& text, const std::string& prefix) {
  if (text.empty() || text.back() != '\n') return false;
  const size_t previous = text.size() >= 2 ? text.rfind('\n', text.size() - 2) : std::string::npos;
  const size_t begin = previous == std::string::npos ? 0 : previous + 1;
  return text.compare(begin, prefix.size(), prefix) == 0;
}

// Reads until a whole line starting with `end` (or an "ACK" error line) has arrived.
std::string ReadUntil(int fd, const std::string& end) {
  std::string text;
  char buffer[4096];
  while (!LastLineStartsWith(text, end) && !LastLineStartsWith(text, "ACK")) {
    const ssize_t n = read(fd, buffer, sizeof(buffer));
    if (n <= 0) Die("connection closed");
    text.append(buffer, static_cast<size_t>(n));
  }
  return text;
}

}  // namespace

MpdPeer::MpdPeer(const std::string& music, const std::string& work_dir, int port)
    : work_dir_(work_dir), port_(port) {
  fs::remove_all(work_dir_);
  fs::create_directories(work_dir_ + "/empty");
  // An empty database first; then MPD over the real folder finds a database and starts idle.
  Start(work_dir_ + "/empty");
  TimeUpdate();
  Stop();
  if (!fs::exists(work_dir_ + "/database")) Die("MPD wrote no database");
  Start(music);
  if (Command("status").find("updating_db") != std::string::npos) {
    Die("MPD began an update by itself at start-up");
  }
}

MpdPeer::~MpdPeer() { Stop(); }

void MpdPeer::Start(const std::string& music) {
  const std::string config = work_dir_ + "/mpd.conf";
  std::ofstream(config, std::ios::trunc) << "music_directory \"" << music << "\"\n"
                                         << "db_file \"" << work_dir_ << "/database\"\n"
                                         << "log_file \"" << work_dir_ << "/log\"\n"
                                         << "bind_to_address \"127.0.0.1\"\n"
                                         << "port \"" << port_ << "\"\n"
                                         << "auto_update \"no\"\n"
                                         << "audio_output {\n  type \"null\"\n  name \"none\"\n}\n";
  process_ = std::make_unique<BackgroundProcess>(
      std::vector<std::string>{"/usr/bin/mpd", "--no-daemon", config}, work_dir_ + "/stderr");
  socket_ = Connect(port_);
  ReadUntil(socket_, "OK MPD");
}

void MpdPeer::Stop() {
  if (socket_ >= 0) close(socket_);
  socket_ = -1;
  process_.reset();  // SIGTERM: MPD saves its database and exits
}

std::string MpdPeer::Command(const std::string& command) {
  const std::string line = command + "\n";
  if (write(socket_, line.data(), line.size()) != static_cast<ssize_t>(line.size())) {
    Die("cannot send " + command);
  }
  const std::string answer = ReadUntil(socket_, "OK");
  if (answer.find("ACK") != std::string::npos) Die(command + ": " + answer);
  return answer;
}

double MpdPeer::TimeUpdate() {
  const double start = Now();
  Command("update");
  // Polling every millisecond costs MPD little and bounds the error to about a millisecond.
  while (Command("status").find("updating_db:") != std::string::npos) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return Now() - start;
}

long MpdPeer::Songs() {
  const std::string stats = Command("stats");
  const size_t at = stats.find("songs: ");
  return at == std::string::npos ? -1 : std::strtol(stats.c_str() + at + 7, nullptr, 10);
}

}  // namespace Sonvik::bench
