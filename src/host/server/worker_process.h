#pragma once
// A pre-forked worker: takes one complete request at a time from the shared queue the master
// fills, serves it, checks that the handler left the process's ids as it found them, and tells
// the master what becomes of the connection. It never reads from a client: the master hands over
// whole requests. A worker that has just answered finds the next request already waiting when
// the server is busy, instead of sleeping until the master picks it.
#include "host/server/api_catalog.h"
#include "host/server/service_identity.h"
#include "host/server/worker_channel.h"
#include "package/util/unique_fd.h"

namespace QUOR::server {

struct WorkerSetup {
  const ApiCatalog* catalog = nullptr;
  const ServiceIdentity* identity = nullptr;  // null without root
  // A worker retires after this many requests (bounds slow leaks in handlers); the master
  // starts a fresh one as needed.
  int max_requests = 10000;
};

// The worker's main loop, run in the forked child. Returns the exit status.
int RunWorker(WorkerLink link, const WorkerSetup& setup);

}  // namespace QUOR::server
