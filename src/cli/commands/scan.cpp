#include "cli/commands/commands.h"

namespace Sonvik::cli {

// Placeholder until this command lands.
void RegisterScanCommand(CLI::App& app) {
  app.add_subcommand("scan", "(not available yet)");
}

}  // namespace Sonvik::cli
