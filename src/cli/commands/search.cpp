#include "cli/commands/commands.h"

namespace Sonvik::cli {

// Placeholder until this command lands.
void RegisterSearchCommand(CLI::App& app) {
  app.add_subcommand("search", "(not available yet)");
}

}  // namespace Sonvik::cli
