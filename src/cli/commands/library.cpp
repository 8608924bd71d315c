#include "cli/commands/commands.h"

namespace Sonvik::cli {

// Placeholder until this command lands.
void RegisterLibraryCommand(CLI::App& app) {
  app.add_subcommand("library", "(not available yet)");
}

}  // namespace Sonvik::cli
