// sonvik: the one command-line tool of Sonvik Voice.
#include <CLI/CLI.hpp>

#include <exception>
#include <iostream>

#include "cli/commands/commands.h"

int main(int argc, char** argv) {
  CLI::App app{"Sonvik Voice: a self-hosted back end for voice-controlled music"};
  app.require_subcommand(1);
  Sonvik::cli::RegisterInitCommand(app);
  Sonvik::cli::RegisterUserCommand(app);
  Sonvik::cli::RegisterTokenCommand(app);
  Sonvik::cli::RegisterLinkCommand(app);
  Sonvik::cli::RegisterServeCommand(app);
  Sonvik::cli::RegisterLibraryCommand(app);
  Sonvik::cli::RegisterScanCommand(app);
  Sonvik::cli::RegisterSearchCommand(app);
  Sonvik::cli::RegisterPlaylistCommand(app);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& e) {
    return app.exit(e);
  } catch (const std::exception& e) {
    std::cerr << "sonvik: " << e.what() << "\n";
    return 1;
  }
  return 0;
}
