#include "mpd_peer.h"

#include "e2e/support/sonvik_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace Sonvik::bench {
namespace {

namespace fs = std::filesystem;

int Connect(int port) {
  int fd = socket(AF_INET, SOCK_STREAM, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(static_cast<uint16_t>(port));
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  if (connect(fd, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    close(fd);
    return -1;
  }
  int one = 1;
  setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof(one));
  return fd;
}

}  // namespace

std::string MpdQuote(const std::string& text) {
  std::string quoted = "\"";
  for (char c : text) {
    if (c == '"' || c == '\\') quoted += '\\';
    quoted += c;
  }
  return quoted + "\"";
}

MpdPeer::MpdPeer(const std::string& work_dir, const std::string& music_folder,
                 const std::vector<std::pair<std::string, std::vector<std::string>>>& playlists) {
  fs::remove_all(work_dir);
  fs::create_directories(work_dir + "/playlists");
  for (const auto& [name, songs] : playlists) {
    std::ofstream out(work_dir + "/playlists/" + name + ".m3u");
    for (const auto& song : songs) out << song << "\n";
  }
  const int port = e2e::SonvikServer::FreePort();
  const std::string conf = work_dir + "/mpd.conf";
  std::ofstream(conf) << "music_directory \"" << music_folder << "\"\n"
                      << "playlist_directory \"" << work_dir << "/playlists\"\n"
                      << "db_file \"" << work_dir << "/database\"\n"
                      << "log_file \"" << work_dir << "/log\"\n"
                      << "bind_to_address \"127.0.0.1\"\nport \"" << port << "\"\n"
                      << "auto_update \"no\"\n"
                      << "audio_output {\n type \"null\"\n name \"null\"\n}\n";
  pid_ = fork();
  if (pid_ == 0) {
    execl("/usr/bin/mpd", "mpd", "--no-daemon", conf.c_str(), nullptr);
    _exit(127);
  }
  // Bounded wait for the port.
  for (int attempt = 0; attempt < 200 && fd_ < 0; ++attempt) {
    fd_ = Connect(port);
    if (fd_ < 0) std::this_thread::sleep_for(std::chrono::milliseconds(50));
  }
  if (fd_ < 0) throw std::runtime_error("mpd did not start; see " + work_dir + "/log");
  ReadAnswer();  // greeting
  Command("update");
  // Bounded wait for the update to finish.
  for (int attempt = 0; attempt < 6000; ++attempt) {
    const std::string request = "status\n";
    if (write(fd_, request.data(), request.size()) < 0) break;
    if (ReadAnswer().find("updating_db:") == std::string::npos) return;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  throw std::runtime_error("mpd's database update did not finish");
}

MpdPeer::~MpdPeer() {
  if (fd_ >= 0) close(fd_);
  if (pid_ > 0) {
    kill(pid_, SIGTERM);
    waitpid(pid_, nullptr, 0);
  }
}

std::string MpdPeer::ReadAnswer() {
  // An answer ends with "OK\n" (the greeting with "OK MPD ...\n") or an "ACK ..." line.
  while (true) {
    size_t end = std::string::npos;
    if (buffer_.starts_with("OK MPD ")) {
      end = buffer_.find('\n');
    } else if (buffer_.starts_with("OK\n")) {
      end = 2;
    } else {
      for (const char* marker : {"\nOK\n", "\nACK "}) {
        size_t at = buffer_.find(marker);
        if (at != std::string::npos) end = buffer_.find('\n', at + 1);
      }
      if (buffer_.starts_with("ACK ")) end = buffer_.find('\n');
    }
    if (end != std::string::npos) {
      std::string answer = buffer_.substr(0, end + 1);
      buffer_.erase(0, end + 1);
      return answer;
    }
    char chunk[65536];
    ssize_t n = read(fd_, chunk, sizeof(chunk));
    if (n <= 0) return "ACK connection closed\n";
    buffer_.append(chunk, static_cast<size_t>(n));
  }
}

int MpdPeer::Command(const std::string& command) {
  const std::string line = command + "\n";
  if (write(fd_, line.data(), line.size()) != static_cast<ssize_t>(line.size())) return -1;
  const std::string answer = ReadAnswer();
  if (answer.starts_with("ACK") || answer.find("\nACK ") != std::string::npos) return -1;
  int files = 0;
  for (size_t at = 0; (at = answer.find("file: ", at)) != std::string::npos; ++at) ++files;
  return files;
}

}  // namespace Sonvik::bench
