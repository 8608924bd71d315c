#include "cli/commands/commands.h"

namespace Sonvik::cli {

// Placeholder until this command lands.
void RegisterInitCommand(CLI::App& app) {
  app.add_subcommand("init", "(not available yet)");
}

}  // namespace Sonvik::cli
