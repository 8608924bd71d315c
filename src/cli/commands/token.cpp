// `sonvik token create|list|revoke`: long-lived API tokens (Authorization: Bearer, or _token in
// a stream URL).
#include <ctime>
#include <iomanip>
#include <iostream>
#include <memory>
#include <stdexcept>

#include "cli/account_access.h"
#include "cli/commands/commands.h"

namespace Sonvik::cli {
namespace {

struct TokenArguments {
  std::string user;
  int64_t id = 0;
};

std::string FormatTime(int64_t seconds) {
  if (seconds == 0) return "never";
  std::time_t t = static_cast<std::time_t>(seconds);
  std::tm local{};
  ::localtime_r(&t, &local);
  char text[32];
  std::strftime(text, sizeof text, "%Y-%m-%d %H:%M", &local);
  return text;
}

void CreateToken(const TokenArguments& args) {
  auto store = OpenAccounts();
  if (!store->FindUser(args.user)) ThrowNoSuchUser(args.user);
  // Only the token on stdout, so that scripts can capture it; it cannot be shown again.
  std::cout << store->CreateToken(args.user) << "\n";
  std::cerr << "Keep this token now: it is not stored and cannot be shown again.\n";
}

void ListTokens() {
  auto store = OpenAccounts();
  auto tokens = store->ListTokens();
  if (tokens.empty()) {
    std::cout << "No API tokens; make one with 'sonvik token create --user NAME'.\n";
    return;
  }
  std::cout << std::left << std::setw(6) << "ID" << std::setw(24) << "USER" << std::setw(20)
            << "CREATED"
            << "LAST USED\n";
  for (const auto& token : tokens) {
    std::cout << std::setw(6) << token.id << std::setw(24) << token.user_name << std::setw(20)
              << FormatTime(token.created) << FormatTime(token.last_used) << "\n";
  }
}

void RevokeToken(const TokenArguments& args) {
  auto store = OpenAccounts();
  if (!store->RevokeToken(args.id)) {
    throw std::runtime_error("no token with id " + std::to_string(args.id) +
                             "; see 'sonvik token list'");
  }
  std::cout << "Token " << args.id << " revoked.\n";
}

}  // namespace

void RegisterTokenCommand(CLI::App& app) {
  auto* token = app.add_subcommand("token", "Manage long-lived API tokens");
  token->require_subcommand(1);
  auto args = std::make_shared<TokenArguments>();

  auto* create = token->add_subcommand("create", "Make a token for a user and print it once");
  create->add_option("--user", args->user, "The user the token logs in as")->required();
  create->callback([args] { CreateToken(*args); });

  auto* list = token->add_subcommand("list", "List the tokens (never their secrets)");
  list->callback(ListTokens);

  auto* revoke = token->add_subcommand("revoke", "Revoke a token by its id");
  revoke->add_option("ID", args->id, "The id shown by 'sonvik token list'")->required();
  revoke->callback([args] { RevokeToken(*args); });
}

}  // namespace Sonvik::cli
