// Login sessions. The id handed out is a random secret; the database keeps only its digest, so a
// copy of the database logs nobody in.
#include "host/accounts/account_store.h"
#include "host/accounts/account_store_impl.h"

namespace QUOR::accounts {

std::string AccountStore::CreateSession(unsigned uid) {
  std::string sid = detail::RandomSecret();
  auto digest = detail::DigestSecret(sid);
  int64_t now = impl_->Now();
  sqlite3* db = impl_->db.get();
  detail::WithAccountErrors([&] {
    Sonvik::sqlite::Transaction transaction(db);
    if (!FindUserByUid(uid)) throw AccountError("no user has uid " + std::to_string(uid));
    // Expired sessions are swept here rather than by a timer: logins are rare, lookups are not.
    detail::Prepare(db, "DELETE FROM sessions WHERE last_used <= ?1",
                    now - impl_->options.session_idle_seconds)
        .Run();
    detail::Prepare(db,
                    "INSERT INTO sessions(id_digest, uid, created, last_used) "
                    "VALUES(?1, ?2, ?3, ?3)",
                    digest, uid, now)
        .Run();
    transaction.Commit();
  });
  return sid;
}

std::optional<User> AccountStore::ResolveSession(const std::string& sid) {
  if (sid.empty()) return std::nullopt;
  auto digest = detail::DigestSecret(sid);
  int64_t now = impl_->Now();
  // Read before the database: a commit after this point makes what is cached below stale.
  uint64_t generation = impl_->changes.Read();
  if (auto remembered = impl_->Remembered(impl_->sessions, digest, generation, now)) {
    return remembered;
  }
  auto& statements = impl_->statements;
  return detail::WithAccountErrors([&]() -> std::optional<User> {
    User user;
    int64_t last_used = 0;
    {
      Sonvik::sqlite::CachedStatement select(
          statements,
          "SELECT s.uid, u.name, s.last_used FROM sessions s JOIN users u ON u.uid = s.uid "
          "WHERE s.id_digest = ?1");
      detail::BindArgs(*select, digest);
      if (!select->Step()) return std::nullopt;
      user = impl_->MakeUser(select->ColumnInt64(0), select->ColumnText(1));
      last_used = select->ColumnInt64(2);
    }

    if (last_used <= now - impl_->options.session_idle_seconds) {
      Sonvik::sqlite::CachedStatement remove(statements,
                                             "DELETE FROM sessions WHERE id_digest = ?1");
      detail::BindArgs(*remove, digest);
      remove->Run();
      return std::nullopt;
    }
    if (now - last_used >= detail::kLastUsedGranularitySeconds) {
      Sonvik::sqlite::CachedStatement update(
          statements, "UPDATE sessions SET last_used = ?2 WHERE id_digest = ?1");
      detail::BindArgs(*update, digest, now);
      update->Run();
      last_used = now;
    }
    if (impl_->cache_credentials) impl_->sessions.Store(digest, user, last_used, generation, now);
    return user;
  });
}

std::optional<User> AccountStore::RememberedSession(const std::string& sid) {
  if (sid.empty()) return std::nullopt;
  return impl_->Remembered(impl_->sessions, detail::DigestSecret(sid), impl_->changes.Read(),
                           impl_->Now());
}

void AccountStore::DeleteSession(const std::string& sid) {
  auto digest = detail::DigestSecret(sid);
  impl_->sessions.Forget(digest);
  detail::WithAccountErrors([&] {
    detail::Prepare(impl_->db.get(), "DELETE FROM sessions WHERE id_digest = ?1", digest).Run();
  });
}

}  // namespace QUOR::accounts
