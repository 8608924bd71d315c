#include "cli/commands/commands.h"

namespace Sonvik::cli {

// Placeholder until this command lands.
void RegisterLinkCommand(CLI::App& app) {
  app.add_subcommand("link", "(not available yet)");
}

}  // namespace Sonvik::cli
