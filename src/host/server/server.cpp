#include "host/server/server.h"

#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <syslog.h>
#include <unistd.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <stdexcept>

#include "host/accounts/account_store.h"
#include "host/server/api_catalog.h"
#include "host/server/module_loader.h"
#include "host/server/service_identity.h"
#include "host/server/worker_process.h"
#include "package/paths.h"

namespace QUOR::server {
namespace {

constexpr int kMaxPool = 256;

// The stderr copy of the log is for whoever watches the terminal or a log file. Nobody reads
// /dev/null, and under systemd stderr is the journal, which has the syslog line already.
bool StderrIsWorthACopy() {
  struct stat info {};
  if (fstat(STDERR_FILENO, &info) != 0) return false;
  if (S_ISCHR(info.st_mode) && info.st_rdev == makedev(1, 3)) return false;  // /dev/null
  if (const char* journal = std::getenv("JOURNAL_STREAM")) {                 // "DEVICE:INODE"
    unsigned long long device = 0, inode = 0;
    if (std::sscanf(journal, "%llu:%llu", &device, &inode) == 2 && device == info.st_dev &&
        inode == info.st_ino) {
      return false;
    }
  }
  return true;
}

void OpenLog(bool foreground) {
  bool copy_to_stderr = foreground && StderrIsWorthACopy();
  openlog("sonvik", LOG_PID | LOG_NDELAY | (copy_to_stderr ? LOG_PERROR : 0), LOG_DAEMON);
}

void RequireFile(const char* path) {
  struct stat info {};
  if (stat(path, &info) != 0) {
    throw std::runtime_error(std::string("the package is not initialised (") + path +
                             " is missing); run `sonvik init` first");
  }
}

}  // namespace

bool ParsePoolSize(const std::string& text, PoolSize* pool, std::string* error) {
  size_t colon = text.find(':');
  auto parse = [](std::string_view part, int* value) {
    auto [end, ec] = std::from_chars(part.data(), part.data() + part.size(), *value);
    return !part.empty() && ec == std::errc() && end == part.data() + part.size();
  };
  int min = 0, max = 0;
  std::string_view view(text);
  if (colon == std::string::npos || !parse(view.substr(0, colon), &min) ||
      !parse(view.substr(colon + 1), &max) || min < 1 || max < min || max > kMaxPool) {
    *error = "--workers takes MIN:MAX with 1 <= MIN <= MAX <= " + std::to_string(kMaxPool) +
             ", e.g. 2:16; got '" + text + "'";
    return false;
  }
  pool->min_workers = min;
  pool->max_workers = max;
  return true;
}

int RunServer(const ServeOptions& options) {
  OpenLog(options.foreground);
  RequireFile(Sonvik::paths::kInfoFile);
  RequireFile(Sonvik::paths::kAccountsDb);

  std::optional<ServiceIdentity> identity;
  if (geteuid() == 0) {
    identity = LookUpServiceAccount(Sonvik::paths::kServiceAccount);
    if (!identity) {
      throw std::runtime_error(std::string("the service account ") +
                               Sonvik::paths::kServiceAccount +
                               " does not exist; run `sonvik init` first");
    }
  } else {
    std::cerr << "sonvik serve: WARNING: not started as root. Requests will run as uid "
              << geteuid()
              << " instead of the service account, and every method that switches credentials "
                 "(stream, transcode, get_cover, the playlist methods) will fail. Start the "
                 "server as root (e.g. with the systemd unit) for full service.\n";
  }

  LoadedModule module(options.module_path.empty() ? DefaultModulePath() : options.module_path);
  ApiCatalog catalog;
  catalog.AddHostMethod("QUOR.API.Info", 1, "query");
  catalog.AddHostMethod("QUOR.API.Auth", 1, "login");
  catalog.AddHostMethod("QUOR.API.Auth", 1, "logout");
  for (const std::string& method : catalog.AddModule(module.api_table(), module.check_table())) {
    syslog(LOG_ERR, "module method %s has no check function; it is not offered", method.c_str());
  }

  try {
    // Fail now, with a clear message, rather than in every worker.
    accounts::AccountStore probe(Sonvik::paths::kAccountsDb);
  } catch (const std::exception& e) {
    throw std::runtime_error(std::string("cannot open the account store ") +
                             Sonvik::paths::kAccountsDb + ": " + e.what());
  }

  Sonvik::util::UniqueFd listener = OpenListener(options.listen);
  if (identity && !AssumeServiceIdentity(*identity)) {
    throw std::runtime_error("cannot take the ids of the service account " + identity->name);
  }

  WorkerSetup setup;
  setup.catalog = &catalog;
  setup.identity = identity ? &*identity : nullptr;
  bool foreground = options.foreground;
  Master master(std::move(listener), options.pool, [&setup, foreground](WorkerLink link) {
    OpenLog(foreground);
    return RunWorker(std::move(link), setup);
  });
  syslog(LOG_INFO, "serving on %s with %d to %d workers%s", options.listen.ToString().c_str(),
         options.pool.min_workers, options.pool.max_workers,
         identity ? (" as " + identity->name).c_str() : " without root");
  return master.Run();
}

}  // namespace QUOR::server
