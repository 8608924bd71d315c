#include "package/search/index_layout.h"

#include <algorithm>
#include <map>
#include <utility>

namespace Sonvik::search::index {

std::string_view CutToRest(std::string_view text) {
  if (text.size() <= kRestBytes) return text;
  size_t cut = kRestBytes;
  // Step back over continuation bytes (10xxxxxx) to the start of the character that was split.
  while (cut > 0 && (static_cast<unsigned char>(text[cut]) & 0xC0) == 0x80) --cut;
  return text.substr(0, cut);
}

std::vector<SpanRow> BuildSpanRows(const std::vector<std::string>& tokens) {
  struct Merged {
    std::string bounds;
    bool cut = false;
  };
  std::map<std::pair<std::string, std::string>, Merged> rows;
  for (size_t i = 0; i + 1 < tokens.size(); ++i) {
    std::string full;
    std::vector<size_t> ends;
    for (size_t j = i + 1; j < tokens.size() && full.size() <= kRestBytes; ++j) {
      full += tokens[j];
      ends.push_back(full.size());
    }
    const std::string_view rest = CutToRest(full);
    Merged& merged = rows[{tokens[i], std::string(rest)}];
    for (size_t end : ends) {
      const char offset = static_cast<char>(end);
      if (end <= rest.size() && merged.bounds.find(offset) == std::string::npos) {
        merged.bounds += offset;
      }
    }
    merged.cut = merged.cut || rest.size() < full.size();
  }
  std::vector<SpanRow> result;
  result.reserve(rows.size());
  for (auto& [key, merged] : rows) {
    std::sort(merged.bounds.begin(), merged.bounds.end());
    if (merged.cut) merged.bounds += '\0';
    result.push_back({key.first, key.second, std::move(merged.bounds)});
  }
  return result;
}

std::string StoreTokens(const std::vector<std::string>& tokens) {
  std::string stored;
  for (const std::string& token : tokens) {
    if (!stored.empty()) stored += ' ';
    stored += token;
  }
  return stored;
}

std::vector<std::string> LoadTokens(std::string_view stored) {
  std::vector<std::string> tokens;
  size_t start = 0;
  while (start < stored.size()) {
    size_t end = stored.find(' ', start);
    if (end == std::string_view::npos) end = stored.size();
    if (end > start) tokens.emplace_back(stored.substr(start, end - start));
    start = end + 1;
  }
  return tokens;
}

}  // namespace Sonvik::search::index
