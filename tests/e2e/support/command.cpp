#include "e2e/support/command.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "e2e/support/test_machine.h"

namespace Sonvik::e2e {

CommandResult RunProgram(const std::string& program, const std::vector<std::string>& args,
                         const std::string& input) {
  int in[2], out[2], err[2];
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) {
    return {};
  }
  std::vector<char*> argv;
  argv.push_back(const_cast<char*>(program.c_str()));
  for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
  argv.push_back(nullptr);
  pid_t pid = fork();
  if (pid == 0) {
    dup2(in[0], 0);
    dup2(out[1], 1);
    dup2(err[1], 2);
    execv(program.c_str(), argv.data());
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  close(err[1]);
  signal(SIGPIPE, SIG_IGN);
  CommandResult result;
  size_t written = 0;
  if (input.empty()) {
    close(in[1]);
    in[1] = -1;
  }
  bool out_open = true, err_open = true;
  while (out_open || err_open) {
    pollfd entries[3] = {{out[0], static_cast<short>(out_open ? POLLIN : 0), 0},
                         {err[0], static_cast<short>(err_open ? POLLIN : 0), 0},
                         {in[1], static_cast<short>(in[1] >= 0 ? POLLOUT : 0), 0}};
    if (poll(entries, 3, -1) < 0 && errno != EINTR) break;
    char buffer[4096];
    if (entries[0].revents != 0) {
      ssize_t got = read(out[0], buffer, sizeof(buffer));
      if (got > 0)
        result.out.append(buffer, static_cast<size_t>(got));
      else
        out_open = false;
    }
    if (entries[1].revents != 0) {
      ssize_t got = read(err[0], buffer, sizeof(buffer));
      if (got > 0)
        result.err.append(buffer, static_cast<size_t>(got));
      else
        err_open = false;
    }
    if (in[1] >= 0 && entries[2].revents != 0) {
      ssize_t put = write(in[1], input.data() + written, input.size() - written);
      if (put > 0) written += static_cast<size_t>(put);
      if (put < 0 || written == input.size()) {
        close(in[1]);
        in[1] = -1;
      }
    }
  }
  if (in[1] >= 0) close(in[1]);
  close(out[0]);
  close(err[0]);
  int status = 0;
  waitpid(pid, &status, 0);
  if (WIFEXITED(status)) result.exit_code = WEXITSTATUS(status);
  return result;
}

CommandResult RunSonvik(const std::vector<std::string>& args, const std::string& input) {
  return RunProgram(SonvikBinary(), args, input);
}

}  // namespace Sonvik::e2e
