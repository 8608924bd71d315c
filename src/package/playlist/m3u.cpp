#include "package/playlist/m3u.h"

#include <charconv>

namespace Sonvik::playlist {
namespace {

constexpr std::string_view kVirtualDirective = "#SONVIK-VIRTUAL:";

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

std::string PercentDecode(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '%' && i + 2 < text.size() && HexValue(text[i + 1]) >= 0 &&
        HexValue(text[i + 2]) >= 0) {
      out += static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
      i += 2;
    } else {
      out += text[i];
    }
  }
  return out;
}

// "file:///music/a%20b.mp3" and "file://localhost/music/..." to "/music/a b.mp3".
std::string LocationToPath(std::string_view location) {
  constexpr std::string_view kScheme = "file://";
  if (location.size() < kScheme.size()) return std::string(location);
  std::string lower(location.substr(0, kScheme.size()));
  for (char& c : lower) c = static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c);
  if (lower != kScheme) return std::string(location);
  std::string_view rest = location.substr(kScheme.size());
  size_t slash = rest.find('/');
  if (slash == std::string_view::npos) return std::string(location);
  return PercentDecode(rest.substr(slash));
}

std::string_view TrimLine(std::string_view line) {
  while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '\t')) {
    line.remove_suffix(1);
  }
  while (!line.empty() && (line.front() == ' ' || line.front() == '\t')) line.remove_prefix(1);
  return line;
}

}  // namespace

M3uDocument ParseM3uDocument(std::string_view text) {
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  M3uDocument document;
  std::string pending_lines;
  int32_t pending_virtual = 0;
  bool first_line = true;
  while (!text.empty()) {
    size_t end = text.find('\n');
    std::string_view raw = text.substr(0, end);
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    if (!raw.empty() && raw.back() == '\r') raw.remove_suffix(1);
    std::string_view line = TrimLine(raw);
    const bool is_first = first_line;
    first_line = false;
    if (is_first && line.starts_with("#EXTM3U")) {
      document.header = std::string(raw) + "\n";
      continue;
    }
    if (line.empty() || line.front() == '#') {
      if (line.starts_with(kVirtualDirective)) {
        std::string_view number = line.substr(kVirtualDirective.size());
        int32_t value = 0;
        auto [ptr, ec] = std::from_chars(number.data(), number.data() + number.size(), value);
        pending_virtual =
            ec == std::errc() && ptr == number.data() + number.size() && value > 0 ? value : 0;
      }
      if (!line.empty()) pending_lines += std::string(raw) + "\n";
      continue;
    }
    pending_lines += std::string(raw) + "\n";
    document.blocks.push_back({{LocationToPath(line), pending_virtual}, std::move(pending_lines)});
    pending_lines.clear();
    pending_virtual = 0;
  }
  document.trailer = std::move(pending_lines);
  return document;
}

std::string M3uDocument::Text() const {
  std::string text = header.empty() ? "#EXTM3U\n" : header;
  for (const auto& block : blocks) text += block.lines;
  return text + trailer;
}

std::vector<PlaylistEntry> ParseM3u(std::string_view text) {
  std::vector<PlaylistEntry> entries;
  for (auto& block : ParseM3uDocument(text).blocks) entries.push_back(std::move(block.entry));
  return entries;
}

std::string FormatM3uItem(const M3uItem& item) {
  // Line breaks inside a tag would start a new entry.
  std::string display = item.display;
  for (char& c : display) {
    if (c == '\n' || c == '\r') c = ' ';
  }
  std::string text = "#EXTINF:" + std::to_string(item.duration_s) + "," + display + "\n";
  if (item.entry.virtual_index > 0) {
    text += std::string(kVirtualDirective) + std::to_string(item.entry.virtual_index) + "\n";
  }
  return text + item.entry.path + "\n";
}

std::string FormatM3u8(const std::vector<M3uItem>& items) {
  std::string text = "#EXTM3U\n";
  for (const auto& item : items) text += FormatM3uItem(item);
  return text;
}

}  // namespace Sonvik::playlist
