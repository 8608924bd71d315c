#include "host/server/worker_process.h"

#include <signal.h>
#include <syslog.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "host/server/dispatcher.h"
#include "host/server/worker_channel.h"

namespace QUOR::server {
namespace {

volatile sig_atomic_t g_stop = 0;

void OnStopSignal(int) { g_stop = 1; }

void InstallWorkerSignals() {
  struct sigaction action {};
  sigemptyset(&action.sa_mask);
  // No SA_RESTART: a stop signal must wake the wait for the next request.
  action.sa_handler = &OnStopSignal;
  sigaction(SIGTERM, &action, nullptr);
  sigaction(SIGINT, &action, nullptr);
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
  action.sa_handler = SIG_DFL;
  sigaction(SIGCHLD, &action, nullptr);
  sigset_t none;
  sigemptyset(&none);
  sigprocmask(SIG_SETMASK, &none, nullptr);
}

// After every request: a handler that switched ids and did not switch back must not leave the
// next request running with them.
bool EnsureIdentity(const ServiceIdentity* identity) {
  if (identity == nullptr || HasServiceIdentity(*identity)) return true;
  syslog(LOG_ERR, "worker found effective uid %u gid %u after a request; restoring %s",
         static_cast<unsigned>(geteuid()), static_cast<unsigned>(getegid()),
         identity->name.c_str());
  if (RestoreServiceIdentity(*identity)) return true;
  syslog(LOG_CRIT, "worker cannot restore the ids of %s; exiting", identity->name.c_str());
  return false;
}

}  // namespace

int RunWorker(WorkerLink link, const WorkerSetup& setup) {
  InstallWorkerSignals();
  Dispatcher dispatcher(*setup.catalog, setup.identity);
  std::string message;
  for (int served = 0; served < setup.max_requests;) {
    // Per-request state lives in this scope and dies with it.
    uint64_t connection_id = 0;
    HttpRequest request;
    Sonvik::util::UniqueFd client;
    if (g_stop) break;
    ReceiveResult received = ReceiveChannelMessage(link.queue.get(), &message, &client, false);
    if (received == ReceiveResult::kInterrupted) continue;
    if (received != ReceiveResult::kMessage) break;  // the master is gone
    if (!client.valid() && message == EncodeRetireMessage()) {
      // Tell the master which worker took it, so that its count of workers stays right.
      SendChannelMessage(link.channel.get(), EncodeReply(ReplyMessage{}), -1, false);
      return 0;
    }
    if (!client.valid() || !DecodeRequestMessage(message, &connection_id, &request) ||
        connection_id == 0) {
      syslog(LOG_ERR, "worker got a malformed message from the master");
      break;
    }
    link.serving->store(connection_id, std::memory_order_release);
    ReplyMessage reply;
    reply.connection_id = connection_id;
    reply.keep_alive = dispatcher.Serve(request, client.get());
    client.Reset();
    bool identity_ok = EnsureIdentity(setup.identity);
    if (!identity_ok) reply.keep_alive = false;
    bool told = SendChannelMessage(link.channel.get(), EncodeReply(reply), -1, false);
    // Cleared after the reply: a master that finds this worker dead reads the slot only after
    // taking its last replies, so a request is never lost between the two.
    link.serving->store(0, std::memory_order_release);
    if (!told) break;
    ++served;
    if (!identity_ok) return 1;
  }
  return 0;
}

}  // namespace QUOR::server
