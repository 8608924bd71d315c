#include "cli/commands/commands.h"

namespace Sonvik::cli {

// Placeholder until this command lands.
void RegisterUserCommand(CLI::App& app) {
  app.add_subcommand("user", "(not available yet)");
}

}  // namespace Sonvik::cli
