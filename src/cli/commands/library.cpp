// `sonvik library add DIR` and `sonvik library list`: the shared music folders, and an overview
// of every folder (personal ones are set with `sonvik user add --personal-library`).
#include <cstdio>
#include <string>

#include "cli/commands/commands.h"
#include "cli/library_access.h"
#include "package/library/library_folders.h"

namespace Sonvik::cli {
namespace {

void AddFolder(const std::string& folder) {
  sqlite3* db = OpenLibraryForCli().get();
  const auto before = library::ListLibraryFolders(db).size();
  const library::LibraryFolder added = library::AddSharedFolder(db, folder);
  if (library::ListLibraryFolders(db).size() == before) {
    std::printf("%s is a shared music folder already.\n", added.path.c_str());
  } else {
    std::printf("Added shared music folder %s.\nRun `sonvik scan` to read its music.\n",
                added.path.c_str());
  }
}

void ListFolders() {
  const auto folders = library::ListLibraryFolders(OpenLibraryForCli().get());
  if (folders.empty()) {
    std::printf("No music folders yet. Add one with `sonvik library add DIR`.\n");
    return;
  }
  std::printf("%-28s %8s  %s\n", "LIBRARY", "TRACKS", "FOLDER");
  for (const library::LibraryFolder& folder : folders) {
    const std::string kind =
        folder.owner_uid == 0 ? "shared"
                              : "personal: " + folder.owner_name + (folder.enabled ? "" : " (off)");
    std::printf("%-28s %8lld  %s\n", kind.c_str(), static_cast<long long>(folder.track_count),
                folder.path.c_str());
  }
}

}  // namespace

void RegisterLibraryCommand(CLI::App& app) {
  CLI::App* library = app.add_subcommand("library", "Manage the music folders");
  library->require_subcommand(1);

  CLI::App* add = library->add_subcommand(
      "add", "Add a shared music folder (everyone's music); then run `sonvik scan`");
  auto folder = std::make_shared<std::string>();
  add->add_option("DIR", *folder, "Absolute path of an existing folder")->required();
  add->callback([folder] { AddFolder(*folder); });

  CLI::App* list = library->add_subcommand("list", "List the music folders with their tracks");
  list->callback([] { ListFolders(); });
}

}  // namespace Sonvik::cli
