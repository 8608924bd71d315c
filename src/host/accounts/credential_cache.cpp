#include "host/accounts/credential_cache.h"

namespace QUOR::accounts::detail {

std::optional<User> CredentialCache::Find(const SecretDigest& digest, uint64_t generation,
                                          int64_t now, int64_t last_used_granularity) const {
  auto it = entries_.find(digest);
  if (it == entries_.end()) return std::nullopt;
  const Entry& entry = it->second;
  // A clock that went back makes the entry untrustworthy as well.
  if (entry.generation != generation || now < entry.cached_at ||
      now - entry.cached_at >= kMaxAgeSeconds || now - entry.last_used >= last_used_granularity) {
    return std::nullopt;
  }
  return entry.user;
}

void CredentialCache::Store(const SecretDigest& digest, const User& user, int64_t last_used,
                            uint64_t generation, int64_t now) {
  // Clients are few; a full cache means something is cycling through ids, and starting over
  // is cheaper than tracking who is oldest.
  if (entries_.size() >= kMaxEntries && entries_.count(digest) == 0) entries_.clear();
  entries_[digest] = Entry{user, last_used, generation, now};
}

}  // namespace QUOR::accounts::detail
