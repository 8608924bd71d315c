#pragma once
// The spoken requests a benchmark run sends: phrases as the speech service writes them, drawn
// from the synthetic library so that their hit rate is known by construction.
#include <cstdint>
#include <string>
#include <vector>

#include "synthetic_library.h"

namespace Sonvik::bench {

struct SpokenQuery {
  enum class Shape {
    kFirstAttempt,  // a run of words of one title: the whole phrase finds it
    kLaterAttempt,  // a title's words with a stray word: only a shorter run finds something
    kMiss,          // words no tag holds: every attempt runs and finds nothing
    kArtist,
    kAlbum,
    kAlbumAndArtist,
  };
  Shape shape;
  std::string title;
  std::string album;
  std::string artist;
  std::string sort_by;  // "track_id" or "album"
  int offset = 0;
  int limit = 20;
  int words = 0;  // spoken words over all kinds
};

const char* ShapeName(SpokenQuery::Shape shape);

// `count` queries, the same for the same library and seed.
std::vector<SpokenQuery> BuildQueryMix(const SyntheticLibrary& library, size_t count,
                                       uint64_t seed);

}  // namespace Sonvik::bench
