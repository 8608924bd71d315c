// Login sessions. The id handed out is a random secret; the database keeps only its digest, so a
// copy of the database logs nobody in.
#include "host/accounts/account_store.h"
#include "host/accounts/account_store_impl.h"
#include "host/accounts/secrets.h"

namespace QUOR::accounts {

std::string AccountStore::CreateSession(unsigned uid) {
  std::string sid = detail::RandomSecret();
  auto digest = detail::DigestSecret(sid);
  int64_t now = impl_->Now();
  auto& db = impl_->db;
  detail::WriteTransaction transaction(db);
  if (!FindUserByUid(uid)) throw AccountError("no user has uid " + std::to_string(uid));
  // Expired sessions are swept here rather than by a timer: logins are rare, lookups are not.
  db.Prepare("DELETE FROM sessions WHERE last_used <= ?1")
      .Bind(1, now - impl_->options.session_idle_seconds)
      .Run();
  db.Prepare("INSERT INTO sessions(id_digest, uid, created, last_used) VALUES(?1, ?2, ?3, ?3)")
      .BindBlob(1, digest.data(), digest.size())
      .Bind(2, static_cast<int64_t>(uid))
      .Bind(3, now)
      .Run();
  transaction.Commit();
  return sid;
}

std::optional<User> AccountStore::ResolveSession(const std::string& sid) {
  if (sid.empty()) return std::nullopt;
  auto digest = detail::DigestSecret(sid);
  int64_t now = impl_->Now();
  auto& db = impl_->db;
  auto select = db.Prepare(
      "SELECT s.uid, u.name, s.last_used FROM sessions s JOIN users u ON u.uid = s.uid "
      "WHERE s.id_digest = ?1");
  select.BindBlob(1, digest.data(), digest.size());
  if (!select.Step()) return std::nullopt;
  User user = impl_->MakeUser(select.Int64(0), select.Text(1));
  int64_t last_used = select.Int64(2);
  select.Reset();

  if (last_used <= now - impl_->options.session_idle_seconds) {
    DeleteSession(sid);
    return std::nullopt;
  }
  if (now - last_used >= detail::kLastUsedGranularitySeconds) {
    db.Prepare("UPDATE sessions SET last_used = ?2 WHERE id_digest = ?1")
        .BindBlob(1, digest.data(), digest.size())
        .Bind(2, now)
        .Run();
  }
  return user;
}

void AccountStore::DeleteSession(const std::string& sid) {
  auto digest = detail::DigestSecret(sid);
  impl_->db.Prepare("DELETE FROM sessions WHERE id_digest = ?1")
      .BindBlob(1, digest.data(), digest.size())
      .Run();
}

}  // namespace QUOR::accounts
