// Fuzz target for the web-API playlist id parser. Invariants: an id that parses is canonical
// (GetId gives the same text back), never holds "../" or a control byte, and any record the
// constructors build either has no id or one that parses back to the same record.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "package/playlist/playlist_result.h"

using Sonvik::webapi::playlist::PlaylistResult;

namespace {

void Check(bool condition) {
  if (!condition) std::abort();
}

bool SameRecord(const PlaylistResult& a, const PlaylistResult& b) {
  return a.name == b.name && a.id == b.id && a.is_personal == b.is_personal &&
         a.is_smart == b.is_smart;
}

void CheckParse(const std::string& text) {
  PlaylistResult parsed(text);
  std::string id = parsed.GetId();
  if (id.empty()) return;
  Check(id == text);
  Check(id.find("../") == std::string::npos);
  for (char c : id) Check(static_cast<unsigned char>(c) >= 0x20 && c != 0x7F);
  Check(SameRecord(PlaylistResult(id), parsed));
}

// First byte: flags; the rest is split at the first NUL into name and key.
void CheckBuild(const uint8_t* data, size_t size) {
  if (size == 0) return;
  const bool personal = (data[0] & 1) != 0;
  const bool smart = (data[0] & 2) != 0;
  std::string rest(reinterpret_cast<const char*>(data + 1), size - 1);
  size_t nul = rest.find('\0');
  std::string name = rest.substr(0, nul);
  std::string key = nul == std::string::npos ? name : rest.substr(nul + 1);
  PlaylistResult built =
      smart ? PlaylistResult(name, personal) : PlaylistResult(name, key, personal);
  std::string id = built.GetId();
  if (id.empty()) return;
  Check(SameRecord(PlaylistResult(id), built));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CheckParse(std::string(reinterpret_cast<const char*>(data), size));
  CheckBuild(data, size);
  return 0;
}
