// Long-lived API tokens (`sonvik token create`). Like session ids, only a digest is stored.
#include "host/accounts/account_store.h"
#include "host/accounts/account_store_impl.h"

namespace QUOR::accounts {

std::string AccountStore::CreateToken(const std::string& user_name) {
  std::string secret = detail::RandomSecret();
  auto digest = detail::DigestSecret(secret);
  sqlite3* db = impl_->db.get();
  detail::WithAccountErrors([&] {
    Sonvik::sqlite::Transaction transaction(db);
    auto user = FindUser(user_name);
    if (!user) throw AccountError("no such user '" + user_name + "'");
    detail::Prepare(db, "INSERT INTO tokens(uid, secret_digest, created) VALUES(?1, ?2, ?3)",
                    user->uid, digest, impl_->Now())
        .Run();
    transaction.Commit();
  });
  return secret;
}

std::optional<User> AccountStore::ResolveToken(const std::string& token) {
  if (token.empty()) return std::nullopt;
  auto digest = detail::DigestSecret(token);
  int64_t now = impl_->Now();
  // Read before the database: a commit after this point makes what is cached below stale.
  uint64_t generation = impl_->changes.Read();
  if (auto remembered = impl_->Remembered(impl_->tokens, digest, generation, now)) {
    return remembered;
  }
  auto& statements = impl_->statements;
  return detail::WithAccountErrors([&]() -> std::optional<User> {
    int64_t id = 0;
    User user;
    int64_t last_used = 0;
    {
      Sonvik::sqlite::CachedStatement select(
          statements,
          "SELECT t.id, t.uid, u.name, t.last_used FROM tokens t JOIN users u ON u.uid = t.uid "
          "WHERE t.secret_digest = ?1");
      detail::BindArgs(*select, digest);
      if (!select->Step()) return std::nullopt;
      id = select->ColumnInt64(0);
      user = impl_->MakeUser(select->ColumnInt64(1), select->ColumnText(2));
      last_used = select->ColumnInt64(3);
    }

    if (now - last_used >= detail::kLastUsedGranularitySeconds) {
      Sonvik::sqlite::CachedStatement update(statements,
                                             "UPDATE tokens SET last_used = ?2 WHERE id = ?1");
      detail::BindArgs(*update, id, now);
      update->Run();
      last_used = now;
    }
    if (impl_->cache_credentials) impl_->tokens.Store(digest, user, last_used, generation, now);
    return user;
  });
}

std::optional<User> AccountStore::RememberedToken(const std::string& token) {
  if (token.empty()) return std::nullopt;
  return impl_->Remembered(impl_->tokens, detail::DigestSecret(token), impl_->changes.Read(),
                           impl_->Now());
}

std::vector<TokenInfo> AccountStore::ListTokens() {
  return detail::WithAccountErrors([&] {
    auto select =
        detail::Prepare(impl_->db.get(),
                        "SELECT t.id, t.uid, u.name, t.created, t.last_used FROM tokens t "
                        "JOIN users u ON u.uid = t.uid ORDER BY t.id");
    std::vector<TokenInfo> tokens;
    while (select.Step()) {
      TokenInfo info;
      info.id = select.ColumnInt64(0);
      info.uid = static_cast<unsigned>(select.ColumnInt64(1));
      info.user_name = select.ColumnText(2);
      info.created = select.ColumnInt64(3);
      info.last_used = select.ColumnInt64(4);
      tokens.push_back(std::move(info));
    }
    return tokens;
  });
}

bool AccountStore::RevokeToken(int64_t id) {
  return detail::WithAccountErrors([&] {
    detail::Prepare(impl_->db.get(), "DELETE FROM tokens WHERE id = ?1", id).Run();
    return impl_->db.Changes() > 0;
  });
}

}  // namespace QUOR::accounts
