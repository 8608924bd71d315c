#include "cli/progress_line.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>

namespace Sonvik::cli {
namespace {

// Carriage return, then "erase to end of line": the line is rewritten where it stands.
constexpr const char* kClearLine = "\r\033[K";

size_t TerminalWidth() {
  winsize size{};
  if (ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  return 80;
}

}  // namespace

bool ProgressLine::StderrIsTerminal() { return isatty(STDERR_FILENO) == 1; }

ProgressLine::ProgressLine(std::function<std::string()> render) : render_(std::move(render)) {
  drawing_ = StderrIsTerminal();
  if (!drawing_) return;
  thread_ = std::thread([this] {
    while (!stop_) {
      Draw();
      for (int i = 0; i < 4 && !stop_; ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
      }
    }
  });
}

ProgressLine::~ProgressLine() { Stop(); }

void ProgressLine::Draw() {
  std::string text = render_();
  const size_t width = TerminalWidth();
  if (text.size() >= width) text.resize(width - 1);  // a wrapped line cannot be redrawn
  std::lock_guard lock(mutex_);
  std::fprintf(stderr, "%s%s", kClearLine, text.c_str());
  std::fflush(stderr);
}

void ProgressLine::PrintAbove(const std::string& line) {
  std::lock_guard lock(mutex_);
  if (drawing_) std::fputs(kClearLine, stderr);
  std::fprintf(stderr, "%s\n", line.c_str());
  std::fflush(stderr);
}

void ProgressLine::Stop() {
  stop_ = true;
  if (thread_.joinable()) thread_.join();
  if (drawing_) {
    std::fputs(kClearLine, stderr);
    std::fflush(stderr);
    drawing_ = false;
  }
}

}  // namespace Sonvik::cli
