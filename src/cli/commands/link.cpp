// `sonvik link`: makes the one-time challenge with which a voice-assistant account is linked to
// this server. The voice service collects it once through the Challenge API.
#include <sodium.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <stdexcept>

#include "cli/commands/commands.h"
#include "cli/service_account.h"
#include "package/config/alexa_config.h"
#include "package/paths.h"

namespace Sonvik::cli {
namespace {

// 16 random bytes as 32 hex digits: short enough to type, far too many to guess.
std::string MakeChallenge() {
  if (sodium_init() < 0) throw std::runtime_error("libsodium cannot be initialised");
  unsigned char raw[16];
  randombytes_buf(raw, sizeof raw);
  char hex[2 * sizeof raw + 1];
  sodium_bin2hex(hex, sizeof hex, raw, sizeof raw);
  return hex;
}

void RunLink() {
  if (!std::filesystem::is_directory(paths::kStateDir)) {
    throw std::runtime_error(std::string(paths::kStateDir) +
                             " does not exist; run 'sonvik init' first (as root)");
  }
  std::string challenge = MakeChallenge();
  {
    AmazonAlexa::AlexaConfig config;
    if (!config.IsLocked() || config.SetChallengeString(challenge) != 0) {
      throw std::runtime_error(std::string("cannot store the challenge in ") + paths::kAlexaConf +
                               " (" + std::strerror(errno) +
                               "); run 'sonvik link' as root, e.g. with sudo");
    }
    // Still under the lock: hand the files to the server's account, which clears the challenge.
    if (::geteuid() == 0) {
      if (auto service = FindServiceAccount()) {
        GiveTo(*service, paths::kAlexaConf);
        GiveTo(*service, std::string(paths::kAlexaConf) + ".lock");
      }
    }
  }
  std::cout << challenge << "\n";
}

}  // namespace

void RegisterLinkCommand(CLI::App& app) {
  auto* link = app.add_subcommand(
      "link",
      "Make a fresh account-linking challenge for the voice assistant and print it "
      "(it replaces any earlier one and is handed out once)");
  link->callback(RunLink);
}

}  // namespace Sonvik::cli
