#pragma once
// Each `sonvik` subcommand registers itself on the top-level app.
#include <CLI/CLI.hpp>

namespace Sonvik::cli {

void RegisterInitCommand(CLI::App& app);
void RegisterUserCommand(CLI::App& app);
void RegisterTokenCommand(CLI::App& app);
void RegisterLinkCommand(CLI::App& app);
void RegisterServeCommand(CLI::App& app);
void RegisterLibraryCommand(CLI::App& app);
void RegisterScanCommand(CLI::App& app);
void RegisterSearchCommand(CLI::App& app);
void RegisterPlaylistCommand(CLI::App& app);

}  // namespace Sonvik::cli
