#include "track_lookup_double.h"

#include <cstring>

namespace Sonvik::testing {

std::map<std::string, FakeTrack>& FakeTracks() {
  static std::map<std::string, FakeTrack> tracks;
  return tracks;
}

TrackRecord MakeRecord(int id, const std::string& path, int virtual_index, int64_t start_ms,
                       int64_t end_ms) {
  TrackRecord record{};
  record.id = id;
  std::strncpy(record.path, path.c_str(), sizeof(record.path) - 1);
  record.virtual_index = virtual_index;
  record.start_ms = start_ms;
  record.end_ms = end_ms;
  return record;
}

}  // namespace Sonvik::testing

extern "C" int QUORMusicGetOneById(const char* scope, unsigned, int, TrackRecord* record, int,
                                   const char* id_text) {
  if (std::strcmp(scope, "all") != 0) return -1;
  auto& tracks = Sonvik::testing::FakeTracks();
  auto found = tracks.find(id_text);
  if (found == tracks.end()) return -1;
  *record = found->second.record;
  return found->second.result;
}
