#pragma once
// One status line on a terminal, redrawn in place a few times a second from a background thread
// (the work itself runs on the caller's thread). On anything but a terminal it draws nothing.
#include <atomic>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

namespace Sonvik::cli {

class ProgressLine {
 public:
  // `render` makes the line's text; it runs on the drawing thread, so it may only read what is
  // safe to read concurrently (atomics). Drawing starts at once when stderr is a terminal.
  explicit ProgressLine(std::function<std::string()> render);
  ~ProgressLine();  // stops drawing and clears the line
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  // Prints a whole line to stderr above the status line.
  void PrintAbove(const std::string& line);
  // Stops drawing and clears the line.
  void Stop();

  static bool StderrIsTerminal();

 private:
  void Draw();

  std::function<std::string()> render_;
  std::mutex mutex_;  // one writer to stderr at a time
  std::atomic<bool> stop_{false};
  bool drawing_ = false;
  std::thread thread_;
};

}  // namespace Sonvik::cli
