#include "cli/commands/commands.h"

namespace Sonvik::cli {

// Placeholder until this command lands.
void RegisterTokenCommand(CLI::App& app) {
  app.add_subcommand("token", "(not available yet)");
}

}  // namespace Sonvik::cli
