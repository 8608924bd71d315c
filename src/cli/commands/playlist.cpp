// `sonvik playlist ...`: the shared playlists, or one user's with --user.
#include <unistd.h>

#include <iomanip>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "cli/account_access.h"
#include "cli/commands/commands.h"
#include "package/library/library_database.h"
#include "package/paths.h"
#include "package/playlist/m3u_import.h"
#include "package/playlist/playlist_editor.h"
#include "package/playlist/smart_rules.h"

namespace Sonvik::cli {
namespace {

struct PlaylistArguments {
  std::string name;
  std::string user;
  std::vector<int64_t> numbers;  // track ids or positions
  std::vector<std::string> rules;
  bool any = false;
  std::string order;
  bool descending = false;
  int64_t limit = 0;
};

sqlite3* LibraryDatabase() {
  if (::access(paths::kLibraryDb, F_OK) != 0) {
    throw std::runtime_error(std::string("the library database ") + paths::kLibraryDb +
                             " does not exist; run 'sonvik init' first (as root)");
  }
  return library::ProcessLibraryDatabase().get();
}

playlist::PlaylistOwner OwnerOf(const std::string& user_name) {
  if (user_name.empty()) return {};
  auto user = OpenAccounts()->FindUser(user_name);
  if (!user) ThrowNoSuchUser(user_name);
  return {user->uid, user->name, user->preference_dir};
}

std::string WhoseText(const PlaylistArguments& args, const char* kind = "") {
  return args.user.empty() ? std::string("the shared ") + kind + "playlist"
                           : args.user + "'s " + kind + "playlist";
}

// Track ids and positions: whole numbers from 1.
const CLI::Validator kPositive(
    [](std::string& text) -> std::string {
      if (text.empty() || text.size() > 18 ||
          text.find_first_not_of("0123456789") != std::string::npos ||
          text.find_first_not_of('0') == std::string::npos) {
        return "'" + text + "' is not a whole number from 1 up";
      }
      return "";
    },
    "POSITIVE");

// Runs `body` with an editor for the arguments' owner; refusals become plain messages.
template <typename Body>
void WithEditor(const PlaylistArguments& args, Body body) {
  try {
    playlist::PlaylistEditor editor(LibraryDatabase(), OwnerOf(args.user));
    body(editor);
  } catch (const playlist::PlaylistError& e) {
    throw std::runtime_error(std::string(e.what()) + "; nothing was changed");
  }
}

std::string Text(const Json::Value& value) { return value.isString() ? value.asString() : ""; }

void Create(const PlaylistArguments& args) {
  WithEditor(args, [&](playlist::PlaylistEditor& editor) { editor.Create(args.name); });
  std::cout << "Created " << WhoseText(args) << " '" << args.name
            << "'; add tracks with 'sonvik playlist add'.\n";
}

void Add(const PlaylistArguments& args) {
  WithEditor(args, [&](playlist::PlaylistEditor& editor) { editor.Add(args.name, args.numbers); });
  std::cout << "Added " << args.numbers.size() << " track(s) to '" << args.name << "'.\n";
}

void Remove(const PlaylistArguments& args) {
  WithEditor(args,
             [&](playlist::PlaylistEditor& editor) { editor.Remove(args.name, args.numbers); });
  std::cout << "Removed " << args.numbers.size() << " item(s) from '" << args.name << "'.\n";
}

void Delete(const PlaylistArguments& args) {
  WithEditor(args, [&](playlist::PlaylistEditor& editor) { editor.Delete(args.name); });
  std::cout << "Deleted " << WhoseText(args) << " '" << args.name << "'.\n";
}

void List(const PlaylistArguments& args) {
  WithEditor(args, [&](playlist::PlaylistEditor& editor) {
    auto playlists = editor.List();
    if (playlists.empty()) {
      std::cout << "No playlists yet; make one with 'sonvik playlist create NAME'"
                << (args.user.empty() ? "" : " --user " + args.user) << ".\n";
      return;
    }
    std::cout << std::left << std::setw(32) << "NAME" << std::setw(8) << "KIND" << std::setw(8)
              << "TRACKS"
              << "KEPT IN\n";
    for (const auto& p : playlists) {
      std::cout << std::setw(32) << p.name << std::setw(8) << (p.smart ? "smart" : "normal")
                << std::setw(8) << p.tracks << p.where << "\n";
    }
  });
}

void Show(const PlaylistArguments& args) {
  WithEditor(args, [&](playlist::PlaylistEditor& editor) {
    auto items = editor.Show(args.name);
    if (items.empty()) {
      std::cout << "'" << args.name << "' holds no tracks.\n";
      return;
    }
    std::cout << std::left << std::setw(6) << "POS" << std::setw(10) << "TRACK"
              << "TITLE / ARTIST / ALBUM\n";
    for (const auto& item : items) {
      std::cout << std::setw(6) << item.position;
      if (item.track_id == 0) {
        std::cout << std::setw(10) << "-"
                  << "(not in the library: " << item.path << ")\n";
        continue;
      }
      const Json::Value& tag = item.track["additional"]["song_tag"];
      std::cout << std::setw(10) << item.track_id << Text(item.track["title"]) << " / "
                << Text(tag["artist"]) << " / " << Text(tag["album"]) << "\n";
    }
  });
}

void CreateSmart(const PlaylistArguments& args) {
  playlist::SmartPlaylist smart;
  smart.name = args.name;
  smart.match_all = !args.any;
  smart.descending = args.descending;
  smart.limit = args.limit;
  for (const std::string& text : args.rules) {
    std::string problem;
    auto rule = playlist::ParseSmartRuleText(text, &problem);
    if (!rule) {
      throw std::runtime_error(
          "bad rule \"" + text + "\": " + problem +
          ". Fields and their operators: " + playlist::DescribeSmartFieldsAndOperators());
    }
    smart.rules.push_back(std::move(*rule));
  }
  if (!args.order.empty()) {
    smart.order = playlist::SmartFieldFromName(args.order);
    if (!smart.order) {
      throw std::runtime_error("cannot order by \"" + args.order +
                               "\"; fields: " + playlist::DescribeSmartFieldsAndOperators());
    }
  }
  WithEditor(args, [&](playlist::PlaylistEditor& editor) { editor.CreateSmart(smart); });
  std::cout << "Created " << WhoseText(args, "smart ") << " '" << args.name << "' with "
            << smart.rules.size() << " rule(s).\n";
}

void Import() {
  auto report = playlist::ImportM3uPlaylists(LibraryDatabase());
  for (const auto& problem : report.problems) std::cerr << "warning: " << problem << "\n";
  std::cout << "Imported " << report.imported << " playlist file(s); " << report.unchanged
            << " unchanged.\n";
}

}  // namespace

void RegisterPlaylistCommand(CLI::App& app) {
  auto* command = app.add_subcommand(
      "playlist", "Manage playlists: the shared ones, or a user's own with --user");
  command->require_subcommand(1);
  auto args = std::make_shared<PlaylistArguments>();
  const auto add_user = [args](CLI::App* sub) {
    sub->add_option("--user", args->user, "The user whose own playlists to use (default: shared)");
  };
  const auto add_name = [args](CLI::App* sub) {
    sub->add_option("NAME", args->name, "The playlist's name")->required();
  };

  auto* create = command->add_subcommand("create", "Make an empty playlist");
  add_name(create);
  add_user(create);
  create->callback([args] { Create(*args); });

  auto* add = command->add_subcommand("add", "Append tracks (ids from 'sonvik search')");
  add_name(add);
  add->add_option("TRACK_ID", args->numbers, "Track ids, in playing order")
      ->required()
      ->check(kPositive);
  add_user(add);
  add->callback([args] { Add(*args); });

  auto* remove = command->add_subcommand(
      "remove", "Remove items by position (as 'playlist show' numbers them)");
  add_name(remove);
  remove->add_option("POSITION", args->numbers, "1-based positions")->required()->check(kPositive);
  add_user(remove);
  remove->callback([args] { Remove(*args); });

  auto* list = command->add_subcommand("list", "List the playlists with their track counts");
  add_user(list);
  list->callback([args] { List(*args); });

  auto* show = command->add_subcommand("show", "List a playlist's tracks");
  add_name(show);
  add_user(show);
  show->callback([args] { Show(*args); });

  auto* del = command->add_subcommand("delete", "Delete a playlist (normal or smart)");
  add_name(del);
  add_user(del);
  del->callback([args] { Delete(*args); });

  auto* import = command->add_subcommand(
      "import", "Import the shared folders' .m3u/.m3u8 files now ('sonvik scan' finds them)");
  import->callback(Import);

  auto* smart = command->add_subcommand("smart", "Smart playlists: tracks chosen by rules");
  smart->require_subcommand(1);
  auto* smart_create = smart->add_subcommand("create", "Make a smart playlist");
  add_name(smart_create);
  smart_create
      ->add_option("--rule", args->rules,
                   "\"FIELD OPERATOR VALUE\", e.g. \"genre is rock\"; repeat for more rules")
      ->required();
  smart_create->add_flag("--any", args->any, "Match tracks meeting any rule (default: all)");
  smart_create->add_option("--order", args->order, "Field to order the tracks by");
  smart_create->add_flag("--desc", args->descending, "Order descending");
  smart_create->add_option("--limit", args->limit, "At most this many tracks (default: no limit)")
      ->check(CLI::Range(int64_t{0}, playlist::kMaxSmartLimit));
  add_user(smart_create);
  smart_create->footer("Fields and their operators: " +
                       playlist::DescribeSmartFieldsAndOperators());
  smart_create->callback([args] { CreateSmart(*args); });
}

}  // namespace Sonvik::cli
