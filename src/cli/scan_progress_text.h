#pragma once
// The texts `sonvik scan` shows while and after it runs.
#include <string>

#include "package/scanner/library_scanner.h"

namespace Sonvik::cli {

// The status line: folders being walked, then files read with rate and time left.
// `reading_seconds`: time since reading began (0 while walking).
std::string ScanStatusLine(const scanner::ScanProgress& progress, double reading_seconds);

// The closing summary, one line.
std::string ScanSummaryLine(const scanner::ScanSummary& summary);

}  // namespace Sonvik::cli
