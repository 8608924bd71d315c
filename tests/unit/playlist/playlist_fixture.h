#pragma once
// A fresh library database at the package's fixed path (the test namespace's own tmpfs), a
// shared library, and users whose personal library is on (alice) or off (bob).
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>

#include "host/api/api_request.h"
#include "package/library/library_database.h"
#include "package/paths.h"
#include "package/sqlite/statement.h"
#include "support/library_rows.h"
#include "support/syslog_capture.h"

namespace Sonvik::playlist::testing {

struct TrackSpec {
  std::string title;
  std::string album = "Album";
  std::string artist = "Artist";
  std::string container = "flac";
  std::string codec = "flac";
  std::string genre = "";
  int year = 0;
  int duration_ms = 180000;
  std::string path = "";  // default: <library>/<title>.flac
  int virtual_index = 0;
  std::string album_artist = "";
};

struct TestUser {
  unsigned uid;
  std::string name;
  std::string preference_dir;
};

class PlaylistDatabaseTest : public ::testing::Test {
 protected:
  static constexpr unsigned kAliceUid = 1025;  // personal library on
  static constexpr unsigned kBobUid = 1026;    // personal library off

  void SetUp() override {
    Sonvik::library::CloseProcessLibraryDatabase();
    std::filesystem::remove_all(paths::kPackageRoot);
    std::filesystem::create_directories(paths::kStateDir);
    alice_ = {kAliceUid, "alice", std::string(paths::kUsersDir) + "/alice"};
    bob_ = {kBobUid, "bob", std::string(paths::kUsersDir) + "/bob"};
    std::filesystem::create_directories(alice_.preference_dir);
    std::filesystem::create_directories(bob_.preference_dir);
    shared_library_ = InsertLibrary("/var/packages/music", 0, "", true);
    alice_library_ = InsertLibrary("/var/packages/home/alice", kAliceUid, "alice", true);
    bob_library_ = InsertLibrary("/var/packages/home/bob", kBobUid, "bob", false);
    Sonvik::testing::ClearCapturedLog();
  }
  void TearDown() override { Sonvik::library::CloseProcessLibraryDatabase(); }

  sqlite3* Db() { return Sonvik::library::ProcessLibraryDatabase().get(); }

  int64_t InsertLibrary(const std::string& path, unsigned owner_uid, const std::string& owner,
                        bool enabled) {
    return Sonvik::testing::InsertLibraryRow(Db(), path, owner_uid, owner, enabled);
  }

  int64_t AddTrack(int64_t library_id, const TrackSpec& spec) {
    std::string path = spec.path;
    if (path.empty()) {
      sqlite::Statement folder(Db(), "SELECT path FROM libraries WHERE id = ?");
      folder.Bind(1, library_id);
      folder.Step();
      path = std::string(folder.ColumnText(0)) + "/" + spec.title + ".flac";
    }
    sqlite::Statement insert(Db(),
                             "INSERT INTO tracks (library_id, path, virtual_index, title, album,"
                             " artist, album_artist, genre, container, codec, year, duration_ms)"
                             " VALUES (?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?, ?)");
    insert.BindAll(library_id, path, spec.virtual_index, spec.title, spec.album, spec.artist,
                   spec.album_artist, spec.genre, spec.container, spec.codec, spec.year,
                   spec.duration_ms);
    insert.Run();
    return sqlite3_last_insert_rowid(Db());
  }

  int64_t AddSharedTrack(const std::string& title) { return AddTrack(shared_library_, {title}); }

  static QUOR::APIRequest Request(const TestUser& user,
                                  std::map<std::string, std::string> params = {}) {
    return QUOR::APIRequest(std::move(params), {user.uid, user.name, user.preference_dir});
  }

  static void WriteFile(const std::string& path, const std::string& content) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream(path, std::ios::binary) << content;
  }

  TestUser alice_;
  TestUser bob_;
  int64_t shared_library_ = 0;
  int64_t alice_library_ = 0;
  int64_t bob_library_ = 0;
};

}  // namespace Sonvik::playlist::testing
