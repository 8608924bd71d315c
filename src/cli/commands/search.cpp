// `sonvik search`: runs a voice search the way the web API does (the same keyword attempts and
// the same engine), without a server, and shows each attempt it tried: the tool to see why a
// spoken phrase found something or nothing.
#include <iostream>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>

#include "cli/account_access.h"
#include "cli/commands/commands.h"
#include "host/api/api_request.h"
#include "host/api/api_response.h"
#include "package/search/voice_fold.h"
#include "voice_module/handlers/browse_search_handler.h"

namespace Sonvik::cli {
namespace {

struct SearchArguments {
  std::string user;
  std::string title;
  std::string album;
  std::string artist;
  std::string sort = "track_id";
  int offset = 0;
  int limit = 20;
};

std::string Quoted(const std::string& text) { return "\"" + text + "\""; }

// One keyword as spoken and as the engine looks it up.
std::string DescribeKeyword(const char* kind, const std::string& keyword) {
  std::string folded;
  for (const std::string& token : search::VoiceFold(keyword)) {
    folded += folded.empty() ? "" : " ";
    folded += token;
  }
  return std::string(kind) + " " + Quoted(keyword) +
         " (folded: " + (folded.empty() ? "nothing" : folded) + ")";
}

std::string DescribeCondition(const search::AllSearchPolicyItem& item) {
  std::string text;
  auto add = [&](const char* kind, const std::string& keyword) {
    if (keyword.empty()) return;
    text += text.empty() ? "" : " and ";
    text += DescribeKeyword(kind, keyword);
  };
  add("album", item.GetSearchPolicyItem<search::SearchAlbum>().GetKeyword());
  add("artist", item.GetSearchPolicyItem<search::SearchArtist>().GetKeyword());
  add("title", item.GetSearchPolicyItem<search::SearchTitle>().GetKeyword());
  return text;
}

QUOR::LoginInfo LoginFor(const std::string& user_name) {
  QUOR::LoginInfo login;
  if (user_name.empty()) return login;  // uid 0: the shared libraries only
  auto store = OpenAccounts();
  auto user = store->FindUser(user_name);
  if (!user) ThrowNoSuchUser(user_name);
  login.uid = user->uid;
  login.user_name = user->name;
  login.preference_dir = user->preference_dir;
  return login;
}

std::string EngineFailure(const search::SearchDBManager& engine) {
  const std::string codes = "(error " + std::to_string(engine.error) + ", web-API code " +
                            std::to_string(SearchErrorToWebapiError(engine.error)) + ")";
  if (engine.error == search::SEARCH_ERROR_BAD_CONDITION) {
    return "nothing to search for " + codes + ": the keywords hold no letter or digit";
  }
  return "the search engine failed " + codes +
         "; the system log says why (is the library database readable? run 'sonvik init' or "
         "run as root)";
}

void RunSearch(const SearchArguments& args) {
  if (args.title.empty() && args.album.empty() && args.artist.empty()) {
    throw std::runtime_error("give at least one of --title, --album and --artist");
  }
  const QUOR::LoginInfo login = LoginFor(args.user);
  std::map<std::string, std::string> params = {{"title", args.title},
                                               {"album", args.album},
                                               {"artist", args.artist},
                                               {"sort_by", args.sort},
                                               {"offset", std::to_string(args.offset)},
                                               {"limit", std::to_string(args.limit)}};
  QUOR::APIRequest request(params, login);
  QUOR::APIResponse response;
  SearchHandler handler(&request, &response);
  SetSearchHandler(&request, handler);

  search::ListSetting setting;
  setting.offset = args.offset;
  setting.limit = args.limit;
  setting.sort_by = SortByStringToSortBy(args.sort);
  const bool ok = handler.Search(setting);

  std::cout << (login.uid == 0 ? std::string("Searching the shared libraries (no --user)")
                               : "Searching as " + login.user_name)
            << ", sorted by " << args.sort << ", offset " << args.offset << ", limit " << args.limit
            << "\n";
  const search::SearchPolicy& policy = handler.search_policy();
  const auto& attempts = policy.extended_keywords();
  if (attempts.empty()) std::cout << "No attempt to make: the keywords hold no word.\n";
  for (size_t i = 0; i < policy.keyword_index(); ++i) {
    std::cout << "Attempt " << i + 1 << " of " << attempts.size() << ", any of:\n";
    for (const search::AllSearchPolicyItem& item : attempts[i]) {
      std::cout << "  " << DescribeCondition(item) << "\n";
    }
    const bool last = i + 1 == policy.keyword_index();
    if (!last) {
      std::cout << "  -> nothing on this page\n";
    } else if (!ok) {
      std::cout << "  -> " << EngineFailure(handler.db_manager()) << "\n";
    } else {
      std::cout << "  -> " << handler.db_manager().results.size() << " track(s)\n";
    }
  }
  if (!ok) throw std::runtime_error(EngineFailure(handler.db_manager()));
  for (size_t i = policy.keyword_index(); i < attempts.size(); ++i) {
    std::cout << "Attempt " << i + 1 << " not needed.\n";
  }
  for (const search::SearchResult& track : handler.db_manager().results) {
    std::cout << "  " << track.id << "  " << Quoted(track.title) << "  artist "
              << Quoted(track.artist) << "  album " << Quoted(track.album) << "  ("
              << track.container << ", " << track.codec << ")\n";
  }

  // count_search stops at the first attempt with any match, page or not.
  QUOR::APIResponse count_response;
  SearchHandler counter(&request, &count_response);
  SetSearchHandler(&request, counter);
  if (counter.Count()) {
    std::cout << "count_search would answer " << counter.db_manager().count << " (attempt "
              << counter.search_policy().keyword_index() << ").\n";
  }
}

}  // namespace

void RegisterSearchCommand(CLI::App& app) {
  auto args = std::make_shared<SearchArguments>();
  auto* search = app.add_subcommand(
      "search", "Search tracks as the voice service would, showing every attempt made");
  search->add_option("--user", args->user,
                     "Search as this user (their personal library included when on); "
                     "without it only the shared libraries are searched");
  search->add_option("--title", args->title, "The spoken title");
  search->add_option("--album", args->album, "The spoken album");
  search->add_option("--artist", args->artist, "The spoken artist");
  search->add_option("--sort", args->sort, "Order of the tracks: track_id (default) or album")
      ->check(CLI::IsMember({"track_id", "album"}));
  search->add_option("--offset", args->offset, "Index of the first track to show")
      ->check(CLI::NonNegativeNumber);
  search->add_option("--limit", args->limit, "Most tracks to show (1 to 5000)")
      ->check(CLI::Range(1, 5000));
  search->callback([args] { RunSearch(*args); });
}

}  // namespace Sonvik::cli
