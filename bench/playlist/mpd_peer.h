#pragma once
// The peer: MPD with the same tracks in its database and the same normal playlists as stored
// playlists, answering listplaylistinfo (a playlist by name, with its songs) over its protocol.
#include <memory>
#include <string>
#include <vector>

namespace Sonvik::bench {

class MpdPeer {
 public:
  // Writes the configuration and the playlists under `work_dir`, starts mpd on a free loopback
  // port and waits until its database update of `music_folder` is done. Throws on failure.
  MpdPeer(const std::string& work_dir, const std::string& music_folder,
          const std::vector<std::pair<std::string, std::vector<std::string>>>& playlists);
  ~MpdPeer();
  MpdPeer(const MpdPeer&) = delete;
  MpdPeer& operator=(const MpdPeer&) = delete;

  // One command; answers the number of "file:" lines of the answer, -1 on ACK or failure.
  int Command(const std::string& command);

 private:
  std::string ReadAnswer();

  int pid_ = -1;
  int fd_ = -1;
  std::string buffer_;
};

// "name" quoted for the MPD protocol.
std::string MpdQuote(const std::string& text);

}  // namespace Sonvik::bench
