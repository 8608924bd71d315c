#pragma once
// `sonvik serve`: checks the package is initialised, loads the voice module, binds the listener,
// takes the service account's effective ids and runs the master until a stop signal.
#include <string>

#include "host/server/listen_address.h"
#include "host/server/master.h"

namespace QUOR::server {

struct ServeOptions {
  ListenAddress listen{"127.0.0.1", 5080, false};
  PoolSize pool;
  std::string module_path;  // empty: DefaultModulePath()
  bool foreground = true;   // log to stderr as well as to syslog
};

// "MIN:MAX" with 1 <= MIN <= MAX <= 256; false with a message otherwise.
bool ParsePoolSize(const std::string& text, PoolSize* pool, std::string* error);

// Returns the exit status after a stop; throws std::runtime_error with a message for the user
// when the server cannot start.
int RunServer(const ServeOptions& options);

}  // namespace QUOR::server
