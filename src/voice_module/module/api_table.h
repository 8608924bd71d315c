#pragma once
// The rows through which the web-API host finds this module's methods. The layout of both rows
// is shared with the host; tests/unit guard it against accidental change.
#include <cstdint>

namespace QUOR {
class APIRequest;
class APIResponse;
}  // namespace QUOR

using APIHandler = void (*)(QUOR::APIRequest*, QUOR::APIResponse*);
using APICheck = bool (*)(QUOR::APIRequest*, QUOR::APIResponse*);

struct APIEntry {
  const char* api;
  int32_t version;
  const char* method;
  APIHandler handler;
};

struct APICheckEntry {
  const char* api;
  int32_t version;
  const char* method;
  APICheck check;
  void* reserved1;  // the host's; always zero here
  void* reserved2;  // the host's; always zero here
};

#define SONVIK_EXPORT __attribute__((visibility("default")))

namespace Sonvik {
SONVIK_EXPORT extern const APIEntry gTable[];
}  // namespace Sonvik

extern "C" {
SONVIK_EXPORT extern const APICheckEntry gCheckTable[];
SONVIK_EXPORT const APIEntry* GetAPITable();
SONVIK_EXPORT const APICheckEntry* GetAPICheckTable();
}
