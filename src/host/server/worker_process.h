#pragma once
// A pre-forked worker: takes one complete request at a time from the master, serves it, checks
// that the handler left the process's ids as it found them, and says what becomes of the
// connection. It never reads from a client: the master hands over whole requests.
#include "host/server/api_catalog.h"
#include "host/server/service_identity.h"
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
int RunWorker(Sonvik::util::UniqueFd channel, const WorkerSetup& setup);

}  // namespace QUOR::server
