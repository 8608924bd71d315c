#pragma once
// A link-time double of the library's track lookup: tests say which ids exist and what the
// lookup answers for them.
#include <map>
#include <string>

#include "package/library/track_record.h"

namespace Sonvik::testing {

struct FakeTrack {
  TrackRecord record{};
  int result = 0;  // what QUORMusicGetOneById answers for this id
};

std::map<std::string, FakeTrack>& FakeTracks();  // keyed by the id text the caller passes

// A record for `path` (a plain file unless `virtual_index` > 0).
TrackRecord MakeRecord(int id, const std::string& path, int virtual_index = 0, int64_t start_ms = 0,
                       int64_t end_ms = 0);

}  // namespace Sonvik::testing
