#pragma once
// The Range request header (bytes unit only), interpreted against a representation of known size.
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Sonvik::audio {

// Abuse limits: a longer header or more range specs than this is ignored (whole answer), so a
// client cannot make the server parse or plan an unbounded list.
inline constexpr size_t kMaxRangeHeaderLength = 1024;
inline constexpr size_t kMaxRangeSpecs = 16;

enum class RangeKind {
  kWhole,          // no usable Range: answer 200 with everything
  kSingle,         // answer 206 with bytes first..last (inclusive)
  kUnsatisfiable,  // answer 416 with "Content-Range: bytes */size"
};

struct ByteRange {
  RangeKind kind = RangeKind::kWhole;
  uint64_t first = 0;
  uint64_t last = 0;  // inclusive; only meaningful for kSingle

  uint64_t length() const { return last - first + 1; }
};

// `value` is the header's value, e.g. "bytes=0-499", "bytes=500-", "bytes=-500".
// Malformed headers, other units and oversized lists are ignored (kWhole). A list of several
// specs is answered whole when any of them can be satisfied; a single spec is clipped to the
// size. Numbers too large for 64 bits saturate, which keeps their meaning ("from beyond the end",
// "up to the end", "the whole suffix").
ByteRange ParseRangeHeader(std::string_view value, uint64_t size);

}  // namespace Sonvik::audio
