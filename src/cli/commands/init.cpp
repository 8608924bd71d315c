// `sonvik init`: lays out the package's fixed paths, the service account and the accounts
// database. Safe to run again: what exists is kept (its keys updated), what is missing is made.
#include <sys/stat.h>
#include <unistd.h>

#include <dlfcn.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <stdexcept>

#include "cli/commands/commands.h"
#include "cli/service_account.h"
#include "host/accounts/account_store.h"
#include "host/server/module_loader.h"
#include "package/library/library_database.h"
#include "package/paths.h"
#include "package/util/key_value_file.h"
#include "package/version.h"

namespace Sonvik::cli {
namespace {

void MakeFolder(const char* path) {
  if (::mkdir(path, 0755) != 0 && errno != EEXIST) {
    throw std::runtime_error(std::string("cannot create ") + path + ": " + std::strerror(errno));
  }
  if (!std::filesystem::is_directory(path)) {
    throw std::runtime_error(std::string(path) + " exists but is not a folder; move it away and " +
                             "run 'sonvik init' again");
  }
}

// Sets `updates` in the key/value file at `path`, keeping the keys someone else put there.
void UpdateKeyValueFile(const char* path, const std::map<std::string, std::string>& updates) {
  auto values = util::ReadKeyValueFile(path).value_or(std::map<std::string, std::string>{});
  for (const auto& [key, value] : updates) values[key] = value;
  if (!util::WriteKeyValueFileAtomically(path, values)) {
    throw std::runtime_error(std::string("cannot write ") + path + ": " + std::strerror(errno));
  }
}

// The media library (and with it FFmpeg) is loaded only for this one question.
bool HasMp3Encoder() {
  std::string path = QUOR::server::PackageLibraryPath("libsonvik_media.so");
  void* media = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (media == nullptr) {
    std::cerr << "sonvik init: cannot load " << path << " (" << ::dlerror()
              << "); MP3 transcoding stays off\n";
    return false;
  }
  using Probe = int (*)();
  auto probe = reinterpret_cast<Probe>(::dlsym(media, "QUORAudioCanEncodeMp3"));
  bool can_encode = probe != nullptr && probe() != 0;
  ::dlclose(media);
  return can_encode;
}

void RunInit() {
  if (::geteuid() != 0) {
    throw std::runtime_error(
        "sonvik init must run as root (it creates the system account and /var/packages/Sonvik); "
        "run 'sudo sonvik init'");
  }
  MakeFolder("/var/packages");
  for (const char* folder : {paths::kPackageRoot, paths::kEtcDir, paths::kStateDir,
                             paths::kUsersDir, paths::kCoverCache}) {
    MakeFolder(folder);
  }
  UpdateKeyValueFile(paths::kInfoFile,
                     {{"package", "Sonvik"}, {"version", version::kPackageVersion}});
  const bool mp3 = HasMp3Encoder();
  UpdateKeyValueFile(paths::kAudioConf, {{"support_transcode_mp3", mp3 ? "yes" : "no"}});

  ServiceIds service = EnsureServiceAccount();
  try {
    QUOR::accounts::AccountStore store(paths::kAccountsDb);
  } catch (const QUOR::accounts::AccountError& e) {
    throw std::runtime_error(std::string(e.what()) +
                             "; move the damaged file away and run 'sonvik init' again");
  }
  try {
    library::OpenLibraryDatabase();
  } catch (const std::exception& e) {
    throw std::runtime_error(std::string(e.what()) + "; check " + paths::kLibraryDb +
                             " and run 'sonvik init' again");
  }
  // The server runs as the service account and writes databases, WAL files and covers here.
  GiveTo(service, paths::kStateDir);

  std::cout << "Sonvik " << version::kPackageVersion << " is set up in " << paths::kPackageRoot
            << " (MP3 transcoding: " << (mp3 ? "yes" : "no") << ", service account '"
            << paths::kServiceAccount << "' uid " << service.uid << ").\n"
            << "Next: 'sonvik user add NAME', 'sonvik library add FOLDER', 'sonvik scan'.\n";
}

}  // namespace

void RegisterInitCommand(CLI::App& app) {
  auto* init = app.add_subcommand(
      "init",
      "Set up /var/packages/Sonvik, the system account 'Sonvik' and the accounts "
      "database (run as root; safe to repeat)");
  init->callback(RunInit);
}

}  // namespace Sonvik::cli
