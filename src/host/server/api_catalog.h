#pragma once
// Every API the host answers: its own (QUOR.API.*) and those of the loaded module, found by
// (api, version, method). Built once from the module's two tables, before the workers fork.
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "voice_module/module/api_table.h"

namespace QUOR::server {

struct MethodEntry {
  APIHandler handler = nullptr;  // null for the host's own methods
  APICheck check = nullptr;
  bool host_method = false;
};

struct VersionRange {
  int min_version = 0;
  int max_version = 0;
};

class ApiCatalog {
 public:
  enum class Lookup { kFound, kNoSuchApi, kVersionNotSupported, kNoSuchMethod };

  // A host method answered by the dispatcher itself.
  void AddHostMethod(const std::string& api, int version, const std::string& method);
  // Adds every row of the module's tables that has both a handler and a check; rows without a
  // check are left out (the host never runs a handler unchecked) and returned as "api/method"
  // texts so the caller can log them.
  std::vector<std::string> AddModule(const APIEntry* api_table, const APICheckEntry* check_table);

  Lookup Find(const std::string& api, int version, const std::string& method,
              const MethodEntry** entry) const;

  // Each API with the versions it answers.
  std::map<std::string, VersionRange> Versions() const;

 private:
  using Key = std::pair<std::string, int>;  // api, version
  std::map<Key, std::map<std::string, MethodEntry>> methods_;
};

}  // namespace QUOR::server
