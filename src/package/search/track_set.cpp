#include "package/search/track_set.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "package/search/index_layout.h"

namespace Sonvik::search {

static_assert(index::kChunkShift == 12, "TrackSet::ForEach assumes chunks of 4096 ids");

namespace chunk_blob {

void Decode(std::string_view blob, ChunkBits& bits) {
  if (blob.size() == kBitmapBytes) {
    for (size_t word = 0; word < bits.size(); ++word) {
      uint64_t value = 0;
      for (size_t byte = 0; byte < 8; ++byte) {
        value |= uint64_t{static_cast<unsigned char>(blob[word * 8 + byte])} << (8 * byte);
      }
      bits[word] |= value;
    }
    return;
  }
  if (blob.size() % 2 != 0 || blob.size() / 2 > kMaxArray) return;
  for (size_t i = 0; i < blob.size(); i += 2) {
    const unsigned offset = static_cast<unsigned char>(blob[i]) |
                            (static_cast<unsigned>(static_cast<unsigned char>(blob[i + 1])) << 8);
    if (offset < 4096) bits[offset / 64] |= uint64_t{1} << (offset % 64);
  }
}

std::string Encode(const ChunkBits& bits) {
  size_t count = 0;
  for (uint64_t word : bits) count += static_cast<size_t>(std::popcount(word));
  std::string blob;
  if (count > kMaxArray) {
    blob.resize(kBitmapBytes);
    for (size_t word = 0; word < bits.size(); ++word) {
      for (size_t byte = 0; byte < 8; ++byte) {
        blob[word * 8 + byte] = static_cast<char>((bits[word] >> (8 * byte)) & 0xFF);
      }
    }
    return blob;
  }
  blob.reserve(count * 2);
  for (size_t word = 0; word < bits.size(); ++word) {
    uint64_t value = bits[word];
    while (value != 0) {
      const unsigned offset =
          static_cast<unsigned>(word * 64) + static_cast<unsigned>(std::countr_zero(value));
      value &= value - 1;
      blob += static_cast<char>(offset & 0xFF);
      blob += static_cast<char>(offset >> 8);
    }
  }
  return blob;
}

}  // namespace chunk_blob

int64_t TrackSet::Count() const {
  int64_t count = 0;
  for (const Chunk& chunk : chunks_) {
    for (uint64_t word : chunk.bits) count += std::popcount(word);
  }
  return count;
}

bool TrackSet::Contains(int64_t track_id) const {
  const int64_t key = index::ChunkOf(track_id);
  auto it = std::lower_bound(chunks_.begin(), chunks_.end(), key,
                             [](const Chunk& chunk, int64_t k) { return chunk.key < k; });
  if (it == chunks_.end() || it->key != key) return false;
  const unsigned offset = index::OffsetInChunk(track_id);
  return (it->bits[offset / 64] >> (offset % 64)) & 1;
}

TrackSet::Chunk& TrackSet::ChunkFor(int64_t key) {
  auto it = std::lower_bound(chunks_.begin(), chunks_.end(), key,
                             [](const Chunk& chunk, int64_t k) { return chunk.key < k; });
  if (it == chunks_.end() || it->key != key) it = chunks_.insert(it, Chunk{key, ChunkBits{}});
  return *it;
}

void TrackSet::Add(int64_t track_id) {
  const unsigned offset = index::OffsetInChunk(track_id);
  ChunkFor(index::ChunkOf(track_id)).bits[offset / 64] |= uint64_t{1} << (offset % 64);
}

void TrackSet::AddChunkBlob(int64_t chunk, std::string_view blob) {
  chunk_blob::Decode(blob, ChunkFor(chunk).bits);
  DropEmpty();
}

void TrackSet::UnionWith(const TrackSet& other) {
  std::vector<Chunk> merged;
  merged.reserve(chunks_.size() + other.chunks_.size());
  auto a = chunks_.begin();
  auto b = other.chunks_.begin();
  while (a != chunks_.end() || b != other.chunks_.end()) {
    if (b == other.chunks_.end() || (a != chunks_.end() && a->key < b->key)) {
      merged.push_back(*a++);
    } else if (a == chunks_.end() || b->key < a->key) {
      merged.push_back(*b++);
    } else {
      Chunk chunk = *a++;
      for (size_t w = 0; w < chunk.bits.size(); ++w) chunk.bits[w] |= b->bits[w];
      ++b;
      merged.push_back(chunk);
    }
  }
  chunks_ = std::move(merged);
}

void TrackSet::IntersectWith(const TrackSet& other) {
  auto b = other.chunks_.begin();
  for (Chunk& chunk : chunks_) {
    while (b != other.chunks_.end() && b->key < chunk.key) ++b;
    if (b == other.chunks_.end() || b->key != chunk.key) {
      chunk.bits.fill(0);
      continue;
    }
    for (size_t w = 0; w < chunk.bits.size(); ++w) chunk.bits[w] &= b->bits[w];
  }
  DropEmpty();
}

void TrackSet::Subtract(const TrackSet& other) {
  auto b = other.chunks_.begin();
  for (Chunk& chunk : chunks_) {
    while (b != other.chunks_.end() && b->key < chunk.key) ++b;
    if (b == other.chunks_.end() || b->key != chunk.key) continue;
    for (size_t w = 0; w < chunk.bits.size(); ++w) chunk.bits[w] &= ~b->bits[w];
  }
  DropEmpty();
}

void TrackSet::DropEmpty() {
  std::erase_if(chunks_, [](const Chunk& chunk) {
    return std::all_of(chunk.bits.begin(), chunk.bits.end(), [](uint64_t w) { return w == 0; });
  });
}

}  // namespace Sonvik::search
