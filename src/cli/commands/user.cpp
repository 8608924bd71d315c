// `sonvik user add|list|passwd|del`: the server's own accounts.
#include <iomanip>
#include <iostream>
#include <memory>
#include <stdexcept>

#include "cli/account_access.h"
#include "cli/commands/commands.h"
#include "cli/password_prompt.h"
#include "package/library/personal_library.h"

namespace Sonvik::cli {
namespace {

struct UserArguments {
  std::string name;
  bool password_stdin = false;
  std::string personal_library;
};

void CheckName(const std::string& name) {
  if (!QUOR::accounts::IsValidUserName(name)) {
    throw std::runtime_error("'" + name +
                             "' is not a valid user name: use 1 to 64 characters of A-Z, a-z, "
                             "0-9, '.', '_' and '-'");
  }
}

void AddUser(const UserArguments& args) {
  CheckName(args.name);
  auto store = OpenAccounts();
  if (store->FindUser(args.name)) {
    throw std::runtime_error("user '" + args.name + "' already exists; see 'sonvik user list'");
  }
  std::string password = ReadNewPassword(args.password_stdin);
  QUOR::accounts::User user;
  try {
    user = store->AddUser(args.name, password, [&](const QUOR::accounts::User& added) {
      // Inside the account transaction: a refused folder leaves no user behind.
      if (!args.personal_library.empty()) {
        library::SetPersonalLibrary(added.uid, added.name, args.personal_library);
      }
    });
  } catch (const QUOR::accounts::AccountError& e) {
    throw std::runtime_error(e.what());
  } catch (const std::exception& e) {
    throw std::runtime_error(std::string(e.what()) + "; the user was not added");
  }
  std::cout << "Added user '" << user.name << "' (uid " << user.uid << ")";
  if (!args.personal_library.empty()) {
    std::cout << " with the personal library " << args.personal_library
              << "; run 'sonvik scan' to read it";
  }
  std::cout << ".\n";
}

void ListUsers() {
  auto store = OpenAccounts();
  auto users = store->ListUsers();
  if (users.empty()) {
    std::cout << "No users yet; add one with 'sonvik user add NAME'.\n";
    return;
  }
  std::cout << std::left << std::setw(8) << "UID" << std::setw(24) << "NAME"
            << "PERSONAL LIBRARY\n";
  for (const auto& user : users) {
    std::cout << std::setw(8) << user.uid << std::setw(24) << user.name
              << (IsPersonalLibEnabled(user.name) ? "on" : "off") << "\n";
  }
}

void ChangePassword(const UserArguments& args) {
  auto store = OpenAccounts();
  if (!store->FindUser(args.name)) ThrowNoSuchUser(args.name);
  std::string password = ReadNewPassword(args.password_stdin);
  store->SetPassword(args.name, password);
  std::cout << "Password of '" << args.name << "' changed; its sessions are logged out.\n";
}

void DeleteUser(const UserArguments& args) {
  auto store = OpenAccounts();
  auto user = store->FindUser(args.name);
  if (!user) ThrowNoSuchUser(args.name);
  // The library first: should it fail, the user still exists and the command can be repeated.
  library::RemovePersonalLibrary(user->uid);
  store->DeleteUser(args.name);
  std::cout << "Deleted user '" << args.name << "' with its sessions, tokens and settings.\n";
}

}  // namespace

void RegisterUserCommand(CLI::App& app) {
  auto* user = app.add_subcommand("user", "Manage the server's users");
  user->require_subcommand(1);
  auto args = std::make_shared<UserArguments>();

  auto* add = user->add_subcommand("add", "Add a user (asks for the password twice)");
  add->add_option("NAME", args->name, "1 to 64 characters of A-Z a-z 0-9 . _ -")->required();
  add->add_flag("--password-stdin", args->password_stdin,
                "Read the password as one line from standard input");
  add->add_option("--personal-library", args->personal_library,
                  "A music folder of the user's own, seen only by them");
  add->callback([args] { AddUser(*args); });

  auto* list = user->add_subcommand("list", "List the users");
  list->callback(ListUsers);

  auto* passwd = user->add_subcommand("passwd", "Change a user's password");
  passwd->add_option("NAME", args->name, "The user")->required();
  passwd->add_flag("--password-stdin", args->password_stdin,
                   "Read the password as one line from standard input");
  passwd->callback([args] { ChangePassword(*args); });

  auto* del = user->add_subcommand("del", "Delete a user with their sessions, tokens and settings");
  del->add_option("NAME", args->name, "The user")->required();
  del->callback([args] { DeleteUser(*args); });
}

}  // namespace Sonvik::cli
