#include "cli/password_prompt.h"

#include <fcntl.h>
#include <sodium.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <iostream>
#include <stdexcept>

namespace Sonvik::cli {
namespace {

// Echo must come back even when the user gives up with Ctrl-C at the prompt.
int g_tty_fd = -1;
termios g_saved_mode{};

void RestoreEchoAndDie(int signal_number) {
  ::tcsetattr(g_tty_fd, TCSAFLUSH, &g_saved_mode);
  ::signal(signal_number, SIG_DFL);
  ::raise(signal_number);
}

class Terminal {
 public:
  Terminal() : fd_(::open("/dev/tty", O_RDWR | O_CLOEXEC)) {
    if (fd_ < 0) {
      throw std::runtime_error(
          "there is no terminal to ask for the password on; pass it with --password-stdin");
    }
  }
  ~Terminal() { ::close(fd_); }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  std::string AskWithoutEcho(const char* prompt) {
    termios mode{};
    bool can_hide = ::tcgetattr(fd_, &mode) == 0;
    if (can_hide) {
      g_tty_fd = fd_;
      g_saved_mode = mode;
      ::signal(SIGINT, RestoreEchoAndDie);
      ::signal(SIGTERM, RestoreEchoAndDie);
      termios quiet = mode;
      quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
      quiet.c_lflag |= ECHONL;
      // Echo goes off before the prompt shows, so nothing typed after the prompt is echoed or
      // flushed away.
      ::tcsetattr(fd_, TCSAFLUSH, &quiet);
    }
    Write(prompt);
    std::string line = ReadLine();
    if (can_hide) {
      ::tcsetattr(fd_, TCSANOW, &mode);
      ::signal(SIGINT, SIG_DFL);
      ::signal(SIGTERM, SIG_DFL);
    }
    return line;
  }

 private:
  void Write(const char* text) {
    size_t length = std::strlen(text);
    while (length > 0) {
      ssize_t n = ::write(fd_, text, length);
      if (n <= 0) return;
      text += n;
      length -= static_cast<size_t>(n);
    }
  }

  std::string ReadLine() {
    std::string line;
    char c;
    while (::read(fd_, &c, 1) == 1 && c != '\n') line.push_back(c);
    return line;
  }

  int fd_;
};

void Wipe(std::string& secret) {
  sodium_memzero(secret.data(), secret.size());
  secret.clear();
}

}  // namespace

std::string ReadNewPassword(bool from_stdin) {
  std::string password;
  if (from_stdin) {
    if (!std::getline(std::cin, password)) {
      throw std::runtime_error(
          "no password on standard input; pipe one line in, e.g. "
          "echo \"$PASSWORD\" | sonvik user add NAME --password-stdin");
    }
    if (!password.empty() && password.back() == '\r') password.pop_back();
  } else {
    Terminal terminal;
    password = terminal.AskWithoutEcho("New password: ");
    std::string again = terminal.AskWithoutEcho("Repeat the password: ");
    bool same = password == again;
    Wipe(again);
    if (!same) {
      Wipe(password);
      throw std::runtime_error("the two passwords differ; nothing was changed, try again");
    }
  }
  if (password.empty()) throw std::runtime_error("the password must not be empty");
  return password;
}

}  // namespace Sonvik::cli
