#include "cli/commands/commands.h"

namespace Sonvik::cli {

// Placeholder until this command lands.
void RegisterServeCommand(CLI::App& app) {
  app.add_subcommand("serve", "(not available yet)");
}

}  // namespace Sonvik::cli
