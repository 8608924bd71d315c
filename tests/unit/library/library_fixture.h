#pragma once
// A fresh library database at the package's fixed path (the test namespace's own tmpfs).
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>

#include "package/library/library_database.h"
#include "package/paths.h"
#include "package/sqlite/statement.h"
#include "support/library_rows.h"

namespace Sonvik::library::testing {

class LibraryDatabaseTest : public ::testing::Test {
 protected:
  void SetUp() override {
    CloseProcessLibraryDatabase();
    std::filesystem::remove_all(paths::kStateDir);
    std::filesystem::create_directories(paths::kStateDir);
    music_ = std::filesystem::path(paths::kPackageRoot) / "music";
    std::filesystem::remove_all(music_);
    std::filesystem::create_directories(music_);
  }
  void TearDown() override { CloseProcessLibraryDatabase(); }

  sqlite3* Db() { return ProcessLibraryDatabase().get(); }

  int64_t InsertLibrary(const std::string& path, unsigned owner_uid, const std::string& owner,
                        bool enabled) {
    return Sonvik::testing::InsertLibraryRow(Db(), path, owner_uid, owner, enabled);
  }

  int64_t InsertTrack(int64_t library_id, const std::string& path, const std::string& title,
                      int virtual_index = 0) {
    sqlite::Statement insert(Db(),
                             "INSERT INTO tracks (library_id, path, virtual_index, title, album,"
                             " artist, container, codec, year, duration_ms, size, mtime_ns,"
                             " start_ms, end_ms) VALUES (?, ?, ?, ?, 'Album', 'Artist', 'flac',"
                             " 'flac', 1999, 61000, 1234, 1700000000123456789, 5000, 9000)");
    insert.BindAll(library_id, path, virtual_index, title);
    insert.Run();
    return sqlite3_last_insert_rowid(Db());
  }

  std::filesystem::path music_;
};

}  // namespace Sonvik::library::testing
