#include "cli/scan_progress_text.h"

#include <cstdarg>
#include <cstdio>

namespace Sonvik::cli {
namespace {

__attribute__((format(printf, 1, 2))) std::string Format(const char* format, ...) {
  char buffer[256];
  va_list args;
  va_start(args, format);
  std::vsnprintf(buffer, sizeof(buffer), format, args);
  va_end(args);
  return buffer;
}

std::string Duration(double seconds) {
  const long long total = static_cast<long long>(seconds + 0.5);
  if (total >= 3600) return Format("%lld:%02lld:%02lld", total / 3600, total / 60 % 60, total % 60);
  return Format("%lld:%02lld", total / 60, total % 60);
}

}  // namespace

std::string ScanStatusLine(const scanner::ScanProgress& progress, double reading_seconds) {
  const long long found = progress.files_found.load();
  if (progress.walking) return Format("Looking through folders: %lld audio files", found);
  const long long total = progress.files_to_read.load();
  const long long read = progress.files_read.load();
  std::string line = Format("Reading %lld/%lld new or changed files", read, total);
  if (reading_seconds > 0.5 && read > 0) {
    const double rate = static_cast<double>(read) / reading_seconds;
    line += Format("  %.0f files/s  ETA %s", rate,
                   Duration(static_cast<double>(total - read) / rate).c_str());
  }
  return line;
}

std::string ScanSummaryLine(const scanner::ScanSummary& s) {
  const double rate = s.seconds > 0 ? static_cast<double>(s.files) / s.seconds : 0;
  return Format(
      "Scanned %lld audio files in %.3f s (%.0f files/s): %lld read, %lld unchanged, "
      "%lld unreadable; tracks %lld added, %lld updated, %lld removed; %lld playlist files",
      static_cast<long long>(s.files), s.seconds, rate, static_cast<long long>(s.read),
      static_cast<long long>(s.unchanged), static_cast<long long>(s.unreadable),
      static_cast<long long>(s.tracks_added), static_cast<long long>(s.tracks_updated),
      static_cast<long long>(s.tracks_removed), static_cast<long long>(s.playlist_files));
}

}  // namespace Sonvik::cli
