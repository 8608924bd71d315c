#include "package/config/audio_config.h"

#include <cstring>
#include <string>

#include "package/paths.h"
#include "package/util/key_value_file.h"

extern "C" int QUORAudioDefaultConfCheck(const char* key, const char* expected, int /*flags*/) {
  if (key == nullptr || expected == nullptr) return 0;
  auto values = Sonvik::util::ReadKeyValueFileCached(Sonvik::paths::kAudioConf);
  if (!values) return 0;
  auto it = values->find(key);
  return it != values->end() && it->second == expected ? 1 : 0;
}
