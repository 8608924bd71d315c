#include "package/audio/response_plan.h"

#include <optional>

#include "package/audio/byte_range.h"
#include "package/audio/http_date.h"

namespace Sonvik::audio {
namespace {

std::string_view TrimBlanks(std::string_view text) {
  while (!text.empty() && (text.front() == ' ' || text.front() == '\t')) text.remove_prefix(1);
  while (!text.empty() && (text.back() == ' ' || text.back() == '\t')) text.remove_suffix(1);
  return text;
}

std::string_view WithoutWeakPrefix(std::string_view tag) {
  if (tag.size() >= 2 && tag[0] == 'W' && tag[1] == '/') tag.remove_prefix(2);
  return tag;
}

// If-Range holds either a strong entity tag (which must equal ours) or a date (which must equal
// our Last-Modified exactly). Anything else, and weak tags, cannot vouch for the bytes.
bool IfRangeHolds(std::string_view header, const Validators& validators) {
  header = TrimBlanks(header);
  if (header.empty()) return true;
  if (header.front() == '"') return !validators.etag.empty() && header == validators.etag;
  if (header.size() >= 2 && header[0] == 'W' && header[1] == '/') return false;
  std::optional<time_t> date = ParseHttpDate(header);
  return date && validators.last_modified >= 0 && *date == validators.last_modified;
}

}  // namespace

bool IfNoneMatchMatches(std::string_view header, std::string_view etag) {
  header = TrimBlanks(header);
  if (header == "*") return true;
  if (etag.empty()) return false;
  etag = WithoutWeakPrefix(etag);
  while (!header.empty()) {
    size_t comma = header.find(',');
    std::string_view tag = WithoutWeakPrefix(TrimBlanks(header.substr(0, comma)));
    if (tag == etag) return true;
    if (comma == std::string_view::npos) break;
    header.remove_prefix(comma + 1);
  }
  return false;
}

ResponsePlan PlanResponse(const RequestHeaders& request, const Validators& validators,
                          uint64_t size) {
  // If-None-Match wins over If-Modified-Since when both are present.
  if (!request.if_none_match.empty()) {
    if (IfNoneMatchMatches(request.if_none_match, validators.etag)) return {304, 0, 0};
  } else if (!request.if_modified_since.empty() && validators.last_modified >= 0) {
    std::optional<time_t> since = ParseHttpDate(TrimBlanks(request.if_modified_since));
    if (since && validators.last_modified <= *since) return {304, 0, 0};
  }

  ResponsePlan whole{200, 0, size};
  if (request.range.empty() || !IfRangeHolds(request.if_range, validators)) return whole;
  ByteRange range = ParseRangeHeader(request.range, size);
  switch (range.kind) {
    case RangeKind::kWhole:
      return whole;
    case RangeKind::kUnsatisfiable:
      return {416, 0, 0};
    case RangeKind::kSingle:
      break;
  }
  return {206, range.first, range.length()};
}

}  // namespace Sonvik::audio
