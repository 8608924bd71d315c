#pragma once
// MPD as the scan benchmark's peer: its database update over the same files, timed through its
// protocol on a loopback port.
#include <memory>
#include <string>

namespace Sonvik::bench {

class BackgroundProcess;

class MpdPeer {
 public:
  // Starts `mpd --no-daemon` with its database, log and config in `work_dir`, no audio output
  // (a "null" output) and `music` as its music folder. The database starts empty: it is made
  // first over an empty folder, so that no update runs at start-up. Exits the benchmark when MPD
  // does not come up.
  MpdPeer(const std::string& music, const std::string& work_dir, int port);
  ~MpdPeer();
  MpdPeer(const MpdPeer&) = delete;
  MpdPeer& operator=(const MpdPeer&) = delete;

  // Sends "update" and polls "status" until "updating_db" is gone; answers the seconds taken.
  double TimeUpdate();
  // "songs" of "stats".
  long Songs();

 private:
  void Start(const std::string& music);
  void Stop();
  std::string Command(const std::string& command);

  std::string work_dir_;
  int port_;
  int socket_ = -1;
  std::unique_ptr<BackgroundProcess> process_;
};

}  // namespace Sonvik::bench
