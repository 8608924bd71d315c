#pragma once
// A set of track ids for one query: chunks of 4096 ids as bitmaps, only the chunks that hold
// something. At a million tracks a full set is 125 KiB; unions, intersections and counts are
// word-wise, and iteration runs in id order, which is what paging by id needs.
//
// The same chunk layout is stored in the index's posting rows (ChunkBlob): up to kMaxArray ids as
// an array of 16-bit offsets (little endian), else the 512-byte bitmap.
#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace Sonvik::search {

using ChunkBits = std::array<uint64_t, 64>;

namespace chunk_blob {
constexpr size_t kBitmapBytes = sizeof(ChunkBits);
constexpr size_t kMaxArray = 255;  // 510 bytes: always shorter than a bitmap
// ORs the ids of `blob` into `bits`. A blob of any other length than the two forms is ignored.
void Decode(std::string_view blob, ChunkBits& bits);
// The shorter form of `bits`; empty when no bit is set.
std::string Encode(const ChunkBits& bits);
}  // namespace chunk_blob

class TrackSet {
 public:
  bool Empty() const { return chunks_.empty(); }
  int64_t Count() const;
  bool Contains(int64_t track_id) const;

  void Add(int64_t track_id);
  // ORs a stored chunk (see chunk_blob) into the set.
  void AddChunkBlob(int64_t chunk, std::string_view blob);

  void UnionWith(const TrackSet& other);
  void IntersectWith(const TrackSet& other);
  void Subtract(const TrackSet& other);

  // Calls visit(id) in ascending id order until it returns false.
  template <typename Visit>
  void ForEach(Visit visit) const {
    for (const Chunk& chunk : chunks_) {
      for (size_t word = 0; word < chunk.bits.size(); ++word) {
        uint64_t bits = chunk.bits[word];
        while (bits != 0) {
          const int bit = __builtin_ctzll(bits);
          bits &= bits - 1;
          if (!visit((chunk.key << 12) + static_cast<int64_t>(word * 64 + bit))) return;
        }
      }
    }
  }

 private:
  struct Chunk {
    int64_t key;
    ChunkBits bits;
  };
  Chunk& ChunkFor(int64_t key);
  void DropEmpty();

  std::vector<Chunk> chunks_;  // ascending by key, none all zero
};

}  // namespace Sonvik::search
