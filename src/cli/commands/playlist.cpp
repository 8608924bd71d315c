#include "cli/commands/commands.h"

namespace Sonvik::cli {

// Placeholder until this command lands.
void RegisterPlaylistCommand(CLI::App& app) {
  app.add_subcommand("playlist", "(not available yet)");
}

}  // namespace Sonvik::cli
