#include "cli/library_access.h"

#include <sys/stat.h>

#include <stdexcept>
#include <string>

#include "package/library/library_database.h"
#include "package/paths.h"

namespace Sonvik::cli {

sqlite::Database& OpenLibraryForCli() {
  struct stat st {};
  if (stat(paths::kStateDir, &st) != 0 || !S_ISDIR(st.st_mode)) {
    throw std::runtime_error(std::string(paths::kStateDir) +
                             " does not exist: run `sonvik init` first (as root)");
  }
  try {
    return library::ProcessLibraryDatabase();
  } catch (const std::exception& e) {
    throw std::runtime_error(std::string("cannot open the library database: ") + e.what() +
                             " (is `sonvik init` done, and are you root?)");
  }
}

}  // namespace Sonvik::cli
