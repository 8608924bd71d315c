#include "package/sqlite/statement_cache.h"

namespace Sonvik::sqlite {

StatementCache::Entry& StatementCache::Get(std::string_view sql) {
  for (auto& entry : entries_) {
    if (entry->sql == sql) return *entry;
  }
  auto entry = std::make_unique<Entry>();
  entry->statement = Statement(db_, sql, /*persistent=*/true);
  entry->sql = sql;
  entries_.push_back(std::move(entry));
  return *entries_.back();
}

CachedStatement::CachedStatement(StatementCache& cache, std::string_view sql) {
  StatementCache::Entry& entry = cache.Get(sql);
  if (entry.in_use) {
    own_.emplace(cache.db(), sql);
    statement_ = &*own_;
    return;
  }
  entry.in_use = true;
  entry_ = &entry;
  statement_ = &entry.statement;
}

CachedStatement::~CachedStatement() {
  if (entry_ != nullptr) {
    entry_->statement.Reset();
    entry_->in_use = false;
  }
}

}  // namespace Sonvik::sqlite
