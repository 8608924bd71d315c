#include "host/accounts/account_store.h"

// Placeholder until the account store lands: every operation refuses.
namespace QUOR::accounts {
AccountStore::AccountStore(const std::string&) { throw AccountError("accounts not available yet"); }
AccountStore::~AccountStore() = default;
User AccountStore::AddUser(const std::string&, const std::string&) { return {}; }
std::optional<User> AccountStore::FindUser(const std::string&) { return std::nullopt; }
std::optional<User> AccountStore::FindUserByUid(unsigned) { return std::nullopt; }
std::vector<User> AccountStore::ListUsers() { return {}; }
void AccountStore::SetPassword(const std::string&, const std::string&) {}
bool AccountStore::DeleteUser(const std::string&) { return false; }
LoginResult AccountStore::Login(const std::string&, const std::string&, const std::string&, User*) {
  return LoginResult::kWrongCredentials;
}
std::string AccountStore::CreateSession(unsigned) { return {}; }
std::optional<User> AccountStore::ResolveSession(const std::string&) { return std::nullopt; }
void AccountStore::DeleteSession(const std::string&) {}
std::string AccountStore::CreateToken(const std::string&) { return {}; }
std::optional<User> AccountStore::ResolveToken(const std::string&) { return std::nullopt; }
std::vector<TokenInfo> AccountStore::ListTokens() { return {}; }
bool AccountStore::RevokeToken(int64_t) { return false; }
}  // namespace QUOR::accounts
