// Long-lived API tokens (`sonvik token create`). Like session ids, only a digest is stored.
#include "host/accounts/account_store.h"
#include "host/accounts/account_store_impl.h"
#include "host/accounts/secrets.h"

namespace QUOR::accounts {

std::string AccountStore::CreateToken(const std::string& user_name) {
  std::string secret = detail::RandomSecret();
  auto digest = detail::DigestSecret(secret);
  auto& db = impl_->db;
  detail::WriteTransaction transaction(db);
  auto user = FindUser(user_name);
  if (!user) throw AccountError("no such user '" + user_name + "'");
  db.Prepare("INSERT INTO tokens(uid, secret_digest, created) VALUES(?1, ?2, ?3)")
      .Bind(1, static_cast<int64_t>(user->uid))
      .BindBlob(2, digest.data(), digest.size())
      .Bind(3, impl_->Now())
      .Run();
  transaction.Commit();
  return secret;
}

std::optional<User> AccountStore::ResolveToken(const std::string& token) {
  if (token.empty()) return std::nullopt;
  auto digest = detail::DigestSecret(token);
  auto& db = impl_->db;
  auto select = db.Prepare(
      "SELECT t.id, t.uid, u.name, t.last_used FROM tokens t JOIN users u ON u.uid = t.uid "
      "WHERE t.secret_digest = ?1");
  select.BindBlob(1, digest.data(), digest.size());
  if (!select.Step()) return std::nullopt;
  int64_t id = select.Int64(0);
  User user = impl_->MakeUser(select.Int64(1), select.Text(2));
  int64_t last_used = select.Int64(3);
  select.Reset();

  int64_t now = impl_->Now();
  if (now - last_used >= detail::kLastUsedGranularitySeconds) {
    db.Prepare("UPDATE tokens SET last_used = ?2 WHERE id = ?1").Bind(1, id).Bind(2, now).Run();
  }
  return user;
}

std::vector<TokenInfo> AccountStore::ListTokens() {
  auto select = impl_->db.Prepare(
      "SELECT t.id, t.uid, u.name, t.created, t.last_used FROM tokens t "
      "JOIN users u ON u.uid = t.uid ORDER BY t.id");
  std::vector<TokenInfo> tokens;
  while (select.Step()) {
    TokenInfo info;
    info.id = select.Int64(0);
    info.uid = static_cast<unsigned>(select.Int64(1));
    info.user_name = select.Text(2);
    info.created = select.Int64(3);
    info.last_used = select.Int64(4);
    tokens.push_back(std::move(info));
  }
  return tokens;
}

bool AccountStore::RevokeToken(int64_t id) {
  impl_->db.Prepare("DELETE FROM tokens WHERE id = ?1").Bind(1, id).Run();
  return impl_->db.Changes() > 0;
}

}  // namespace QUOR::accounts
