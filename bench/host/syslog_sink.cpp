// A stand-in for the machine's syslog daemon during the host benchmark: binds /dev/log, takes
// every line the host and nginx send, keeps the ones that are not access lines in a file (so a
// failing run can be explained) and drops the rest. Both servers pay the same price per line.
//
//   bench_syslog_sink KEEP_FILE      (stops on SIGTERM)
#include <signal.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace {

volatile sig_atomic_t g_stop = 0;
void OnStop(int) { g_stop = 1; }

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: %s KEEP_FILE\n", argv[0]);
    return 2;
  }
  FILE* keep = std::fopen(argv[1], "w");
  if (keep == nullptr) {
    std::perror(argv[1]);
    return 1;
  }
  setvbuf(keep, nullptr, _IOLBF, 0);  // readable while the benchmark runs
  struct sigaction action {};
  action.sa_handler = &OnStop;
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  int sink = socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, "/dev/log", sizeof(address.sun_path) - 1);
  unlink(address.sun_path);
  if (sink < 0 || bind(sink, reinterpret_cast<sockaddr*>(&address), sizeof(address)) != 0) {
    std::perror("bind /dev/log");
    return 1;
  }
  chmod(address.sun_path, 0666);
  constexpr int kBatch = 64;
  static char buffers[kBatch][2048];
  iovec vectors[kBatch];
  mmsghdr messages[kBatch];
  long received = 0;
  while (!g_stop) {
    for (int i = 0; i < kBatch; ++i) {
      vectors[i] = {buffers[i], sizeof(buffers[i])};
      messages[i] = {};
      messages[i].msg_hdr.msg_iov = &vectors[i];
      messages[i].msg_hdr.msg_iovlen = 1;
    }
    int count = recvmmsg(sink, messages, kBatch, MSG_WAITFORONE, nullptr);
    if (count < 0) {
      if (errno == EINTR) continue;
      std::perror("recvmmsg");
      break;
    }
    received += count;
    for (int i = 0; i < count; ++i) {
      std::string_view line(buffers[i], messages[i].msg_len);
      // The host's access lines and nginx's (which log the request line) are the bulk.
      if (line.find(" access ") != std::string_view::npos ||
          line.find("HTTP/1.1\"") != std::string_view::npos) {
        continue;
      }
      std::fprintf(keep, "%.*s\n", static_cast<int>(line.size()), line.data());
    }
  }
  std::fprintf(keep, "(%ld lines received)\n", received);
  std::fclose(keep);
  unlink(address.sun_path);
  return 0;
}
