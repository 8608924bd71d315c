#include "package/audio/byte_range.h"

#include <limits>

namespace Sonvik::audio {
namespace {

constexpr uint64_t kSaturated = std::numeric_limits<uint64_t>::max();

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

bool EqualsIgnoringCase(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    char x = a[i] >= 'A' && a[i] <= 'Z' ? static_cast<char>(a[i] - 'A' + 'a') : a[i];
    if (x != b[i]) return false;
  }
  return true;
}

// Decimal digits only (no sign, no blanks); saturates instead of overflowing.
bool ParseNumber(std::string_view digits, uint64_t* out) {
  if (digits.empty()) return false;
  uint64_t value = 0;
  for (char c : digits) {
    if (!IsDigit(c)) return false;
    uint64_t d = static_cast<uint64_t>(c - '0');
    value = value > (kSaturated - d) / 10 ? kSaturated : value * 10 + d;
  }
  *out = value;
  return true;
}

enum class SpecResult { kInvalid, kUnsatisfiable, kSatisfiable };

// One of "first-last", "first-", "-suffix".
SpecResult ParseSpec(std::string_view spec, uint64_t size, uint64_t* first, uint64_t* last) {
  size_t dash = spec.find('-');
  if (dash == std::string_view::npos) return SpecResult::kInvalid;
  std::string_view head = spec.substr(0, dash);
  std::string_view tail = spec.substr(dash + 1);
  if (head.empty()) {
    uint64_t suffix = 0;
    if (!ParseNumber(tail, &suffix)) return SpecResult::kInvalid;
    if (suffix == 0 || size == 0) return SpecResult::kUnsatisfiable;
    *first = suffix >= size ? 0 : size - suffix;
    *last = size - 1;
    return SpecResult::kSatisfiable;
  }
  uint64_t from = 0;
  if (!ParseNumber(head, &from)) return SpecResult::kInvalid;
  uint64_t to = kSaturated;
  if (!tail.empty()) {
    if (!ParseNumber(tail, &to)) return SpecResult::kInvalid;
    if (to < from) return SpecResult::kInvalid;
  }
  if (from >= size) return SpecResult::kUnsatisfiable;
  *first = from;
  *last = to >= size ? size - 1 : to;
  return SpecResult::kSatisfiable;
}

}  // namespace

ByteRange ParseRangeHeader(std::string_view value, uint64_t size) {
  const ByteRange whole;
  if (value.size() > kMaxRangeHeaderLength) return whole;
  value = TrimBlanks(value);
  size_t equals = value.find('=');
  if (equals == std::string_view::npos) return whole;
  if (!EqualsIgnoringCase(TrimBlanks(value.substr(0, equals)), "bytes")) return whole;

  std::string_view set = value.substr(equals + 1);
  size_t specs = 0;
  size_t satisfiable = 0;
  ByteRange single{RangeKind::kSingle, 0, 0};
  while (true) {
    size_t comma = set.find(',');
    std::string_view spec = TrimBlanks(set.substr(0, comma));
    // Empty list elements ("0-1,,2-3") are allowed by the list syntax and mean nothing.
    if (!spec.empty()) {
      if (++specs > kMaxRangeSpecs) return whole;
      uint64_t first = 0;
      uint64_t last = 0;
      switch (ParseSpec(spec, size, &first, &last)) {
        case SpecResult::kInvalid:
          return whole;
        case SpecResult::kUnsatisfiable:
          break;
        case SpecResult::kSatisfiable:
          ++satisfiable;
          single.first = first;
          single.last = last;
          break;
      }
    }
    if (comma == std::string_view::npos) break;
    set.remove_prefix(comma + 1);
  }
  if (specs == 0) return whole;
  if (satisfiable == 0) return {RangeKind::kUnsatisfiable, 0, 0};
  // Several ranges would need a multipart body; the whole representation answers them too.
  if (specs > 1) return whole;
  return single;
}

}  // namespace Sonvik::audio
