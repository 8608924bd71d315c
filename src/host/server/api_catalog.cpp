#include "host/server/api_catalog.h"

#include <algorithm>
#include <cstring>

namespace QUOR::server {

void ApiCatalog::AddHostMethod(const std::string& api, int version, const std::string& method) {
  MethodEntry entry;
  entry.host_method = true;
  methods_[{api, version}][method] = entry;
}

std::vector<std::string> ApiCatalog::AddModule(const APIEntry* api_table,
                                               const APICheckEntry* check_table) {
  std::vector<std::string> unchecked;
  for (const APIEntry* row = api_table; row != nullptr && row->api != nullptr; ++row) {
    if (row->method == nullptr || row->handler == nullptr) continue;
    APICheck check = nullptr;
    for (const APICheckEntry* c = check_table; c != nullptr && c->api != nullptr; ++c) {
      if (c->version == row->version && c->method != nullptr &&
          std::strcmp(c->api, row->api) == 0 && std::strcmp(c->method, row->method) == 0) {
        check = c->check;
        break;
      }
    }
    if (check == nullptr) {
      unchecked.push_back(std::string(row->api) + "/" + row->method);
      continue;
    }
    methods_[{row->api, row->version}][row->method] = MethodEntry{row->handler, check, false};
  }
  return unchecked;
}

ApiCatalog::Lookup ApiCatalog::Find(const std::string& api, int version, const std::string& method,
                                    const MethodEntry** entry) const {
  auto first = methods_.lower_bound({api, 0});
  if (first == methods_.end() || first->first.first != api) {
    // lower_bound with version 0 misses negative versions; no API uses them.
    return Lookup::kNoSuchApi;
  }
  auto versioned = methods_.find({api, version});
  if (versioned == methods_.end()) return Lookup::kVersionNotSupported;
  auto found = versioned->second.find(method);
  if (found == versioned->second.end()) return Lookup::kNoSuchMethod;
  *entry = &found->second;
  return Lookup::kFound;
}

std::map<std::string, VersionRange> ApiCatalog::Versions() const {
  std::map<std::string, VersionRange> versions;
  for (const auto& [key, methods] : methods_) {
    auto [it, inserted] = versions.try_emplace(key.first, VersionRange{key.second, key.second});
    if (!inserted) {
      it->second.min_version = std::min(it->second.min_version, key.second);
      it->second.max_version = std::max(it->second.max_version, key.second);
    }
  }
  return versions;
}

}  // namespace QUOR::server
