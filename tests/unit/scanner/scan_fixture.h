#pragma once
// Scanner tests: a fresh library database at the package path (the test namespace's tmpfs), a
// music folder below it, audio files made with ffmpeg, and scans run in-process.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "package/scanner/library_scanner.h"

struct sqlite3;

namespace Sonvik::scanner::testing {

namespace fs = std::filesystem;

// Runs a program with arguments (no shell); answers its exit status, -1 when it did not exit.
int RunProgram(const std::vector<std::string>& argv);

// Makes an audio file with ffmpeg: a sine tone of `seconds`, codec chosen by the extension
// (mp3, flac, ogg, opus, m4a, wav), tagged with `tags` (ffmpeg -metadata keys). Fails the test
// when ffmpeg fails.
void MakeAudioFile(const fs::path& path, double seconds,
                   const std::map<std::string, std::string>& tags = {});

void WriteFile(const fs::path& path, const std::string& content);

struct ScanRun {
  ScanSummary summary;
  std::vector<std::string> problems;  // "path: message"
};

class ScanTest : public ::testing::Test {
 protected:
  void SetUp() override;
  void TearDown() override;

  sqlite3* Db();
  int64_t AddShared(const fs::path& folder);
  ScanRun Scan(bool full = false);

  // A query's first column of every row, as text.
  std::vector<std::string> Column(const std::string& sql);
  int64_t Count(const std::string& sql);

  fs::path music_;  // an empty folder for the test's files
};

}  // namespace Sonvik::scanner::testing
