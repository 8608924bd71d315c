#pragma once
// The system account the server runs as ("Sonvik"), as `sonvik init` and the other
// administrative commands need it.
#include <sys/types.h>

#include <optional>
#include <string>

namespace Sonvik::cli {

struct ServiceIds {
  uid_t uid;
  gid_t gid;
};

// The service account's ids, or nullopt when it does not exist.
std::optional<ServiceIds> FindServiceAccount();

// Creates the service account with useradd when it is missing. Throws std::runtime_error.
ServiceIds EnsureServiceAccount();

// Gives `path` (and, for a folder, everything below it) to the account. Symbolic links are
// changed themselves, never followed. Throws std::runtime_error on the first failure.
void GiveTo(const ServiceIds& ids, const std::string& path);

}  // namespace Sonvik::cli
