#pragma once
// A number shared by every process that opens the accounts database, raised after each of their
// commits. A worker checks it before trusting what it remembers of a session or token: one
// memory read instead of a database transaction per request.
#include <cstdint>
#include <string>

namespace QUOR::accounts::detail {

class ChangeCounter {
 public:
  // Maps the counter file at `path`, creating it (mode 0600) when missing. When that fails the
  // counter is not valid and callers do without it.
  explicit ChangeCounter(const std::string& path);
  ~ChangeCounter();
  ChangeCounter(const ChangeCounter&) = delete;
  ChangeCounter& operator=(const ChangeCounter&) = delete;

  bool valid() const { return word_ != nullptr; }
  // 0 when not valid.
  uint64_t Read() const;
  void Raise();

 private:
  uint64_t* word_ = nullptr;
};

}  // namespace QUOR::accounts::detail
