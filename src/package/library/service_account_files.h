#pragma once
// Files that root creates for the server to use.
#include <string>

namespace Sonvik::library {

// When the process runs as root and the service account exists, gives `path` to that account
// (user and group). Missing files and every other case are left alone; never throws.
void GiveToServiceAccount(const std::string& path);

}  // namespace Sonvik::library
