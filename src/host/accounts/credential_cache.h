#pragma once
// What one process remembers of the sessions or tokens it resolved, so that a client's burst of
// requests costs one database read. An entry is trusted only while the accounts database has not
// changed since (the ChangeCounter), for a few seconds at most (a writer killed between its
// commit and raising the counter is forgotten that soon), and while the use it noted is recent
// enough not to need noting again.
#include <cstdint>
#include <map>
#include <optional>

#include "host/accounts/account_store.h"
#include "host/accounts/secrets.h"

namespace QUOR::accounts::detail {

class CredentialCache {
 public:
  static constexpr int64_t kMaxAgeSeconds = 5;
  static constexpr size_t kMaxEntries = 1024;

  std::optional<User> Find(const SecretDigest& digest, uint64_t generation, int64_t now,
                           int64_t last_used_granularity) const;
  // `generation` is the counter as read before the database was: a commit racing with that
  // read leaves the entry stale at once.
  void Store(const SecretDigest& digest, const User& user, int64_t last_used, uint64_t generation,
             int64_t now);
  void Forget(const SecretDigest& digest) { entries_.erase(digest); }

 private:
  struct Entry {
    User user;
    int64_t last_used = 0;
    uint64_t generation = 0;
    int64_t cached_at = 0;
  };
  std::map<SecretDigest, Entry> entries_;
};

}  // namespace QUOR::accounts::detail
