// Music folders: shared folders, personal folders switched on and off, and the schema they live in.
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

#include "package/library/library_folders.h"
#include "package/library/personal_library.h"
#include "package/library/schema_migrations.h"
#include "package/sqlite/error.h"
#include "unit/library/library_fixture.h"

namespace Sonvik::library::testing {
namespace {

namespace fs = std::filesystem;

int64_t CountRows(sqlite3* db, const char* table) {
  sqlite::Statement count(db, std::string("SELECT count(*) FROM ") + table);
  count.Step();
  return count.ColumnInt64(0);
}

using SharedFolders = LibraryDatabaseTest;

TEST_F(SharedFolders, AddingTwiceOrThroughALinkKeepsOneFolder) {
  fs::create_directories(music_ / "shared");
  fs::create_symlink(music_ / "shared", music_ / "link");
  const LibraryFolder first = AddSharedFolder(Db(), (music_ / "shared").string());
  const LibraryFolder again = AddSharedFolder(Db(), (music_ / "shared/").string());
  const LibraryFolder linked = AddSharedFolder(Db(), (music_ / "link").string());
  EXPECT_EQ(first.id, again.id);
  EXPECT_EQ(first.id, linked.id);
  EXPECT_EQ(first.path, (music_ / "shared").string());
  EXPECT_EQ(ListLibraryFolders(Db()).size(), 1u);
}

TEST_F(SharedFolders, UnusableFoldersAreRefusedAndChangeNothing) {
  fs::create_directories(music_ / "shared");
  std::FILE* file = std::fopen((music_ / "file.mp3").c_str(), "w");
  std::fclose(file);
  EXPECT_THROW(AddSharedFolder(Db(), "relative/music"), std::runtime_error);
  EXPECT_THROW(AddSharedFolder(Db(), (music_ / "missing").string()), std::runtime_error);
  EXPECT_THROW(AddSharedFolder(Db(), (music_ / "file.mp3").string()), std::runtime_error);
  EXPECT_THROW(AddSharedFolder(Db(), ""), std::runtime_error);
  EXPECT_EQ(CountRows(Db(), "libraries"), 0);
}

TEST_F(SharedFolders, ListCountsTracksAndPutsSharedFirst) {
  fs::create_directories(music_ / "b");
  fs::create_directories(music_ / "alice");
  Sonvik::library::SetPersonalLibrary(1025, "alice", (music_ / "alice").string());
  const LibraryFolder shared = AddSharedFolder(Db(), (music_ / "b").string());
  InsertTrack(shared.id, "/x/1.mp3", "one");
  InsertTrack(shared.id, "/x/2.mp3", "two");
  const auto folders = ListLibraryFolders(Db());
  ASSERT_EQ(folders.size(), 2u);
  EXPECT_EQ(folders[0].owner_uid, 0u);
  EXPECT_EQ(folders[0].track_count, 2);
  EXPECT_EQ(folders[1].owner_name, "alice");
  EXPECT_EQ(folders[1].track_count, 0);
}

using PersonalFolders = LibraryDatabaseTest;

TEST_F(PersonalFolders, SwitchOnOffAndOnAgain) {
  fs::create_directories(music_ / "alice");
  EXPECT_EQ(IsPersonalLibEnabled("alice"), 0);
  SetPersonalLibrary(1025, "alice", (music_ / "alice").string());
  EXPECT_NE(IsPersonalLibEnabled("alice"), 0);
  EXPECT_EQ(IsPersonalLibEnabled("bob"), 0);
  DisablePersonalLibrary(1025);
  EXPECT_EQ(IsPersonalLibEnabled("alice"), 0);
  SetPersonalLibrary(1025, "alice", (music_ / "alice").string());
  EXPECT_NE(IsPersonalLibEnabled("alice"), 0);
  EXPECT_EQ(CountRows(Db(), "libraries"), 1);
}

TEST_F(PersonalFolders, MovingForgetsTheOldFoldersTracks) {
  fs::create_directories(music_ / "old");
  fs::create_directories(music_ / "new");
  SetPersonalLibrary(1025, "alice", (music_ / "old").string());
  const auto folder = FindPersonalFolder(Db(), 1025);
  ASSERT_TRUE(folder);
  InsertTrack(folder->id, (music_ / "old/x.mp3").string(), "x");
  SetPersonalLibrary(1025, "alice", (music_ / "old").string());  // same folder: tracks stay
  EXPECT_EQ(CountRows(Db(), "tracks"), 1);
  SetPersonalLibrary(1025, "alice", (music_ / "new").string());
  EXPECT_EQ(CountRows(Db(), "tracks"), 0);
  EXPECT_EQ(FindPersonalFolder(Db(), 1025)->path, (music_ / "new").string());
  EXPECT_EQ(FindPersonalFolder(Db(), 1025)->id, folder->id);
}

TEST_F(PersonalFolders, RemovingDeletesTheFolderAndItsTracksOnly) {
  fs::create_directories(music_ / "alice");
  fs::create_directories(music_ / "bob");
  SetPersonalLibrary(1025, "alice", (music_ / "alice").string());
  SetPersonalLibrary(1026, "bob", (music_ / "bob").string());
  InsertTrack(FindPersonalFolder(Db(), 1025)->id, "/a.mp3", "a");
  InsertTrack(FindPersonalFolder(Db(), 1026)->id, "/b.mp3", "b");
  RemovePersonalLibrary(1025);
  RemovePersonalLibrary(1025);  // nothing left to remove: no error
  EXPECT_FALSE(FindPersonalFolder(Db(), 1025));
  EXPECT_TRUE(FindPersonalFolder(Db(), 1026));
  EXPECT_EQ(CountRows(Db(), "tracks"), 1);
  EXPECT_EQ(IsPersonalLibEnabled("alice"), 0);
}

TEST_F(PersonalFolders, UnusableFolderIsRefusedAndKeepsTheOldOne) {
  fs::create_directories(music_ / "alice");
  SetPersonalLibrary(1025, "alice", (music_ / "alice").string());
  EXPECT_THROW(SetPersonalLibrary(1025, "alice", (music_ / "missing").string()),
               std::runtime_error);
  EXPECT_THROW(SetPersonalLibrary(1025, "alice", "alice"), std::runtime_error);
  EXPECT_EQ(FindPersonalFolder(Db(), 1025)->path, (music_ / "alice").string());
}

using SchemaMigration = LibraryDatabaseTest;

TEST_F(SchemaMigration, FreshDatabaseIsAtTheLatestVersionAndReopensWithItsData) {
  EXPECT_EQ(ProcessLibraryDatabase().PragmaInt("user_version"), LatestSchemaVersion());
  {
    sqlite::Statement mode(Db(), "PRAGMA journal_mode");
    ASSERT_TRUE(mode.Step());
    EXPECT_EQ(mode.ColumnText(0), "wal");
  }
  InsertLibrary("/m", 0, "", true);
  CloseProcessLibraryDatabase();
  EXPECT_EQ(CountRows(Db(), "libraries"), 1);
}

TEST_F(SchemaMigration, ANewerDatabaseIsRefusedUntouched) {
  Db();
  ProcessLibraryDatabase().Exec("PRAGMA user_version = 999");
  CloseProcessLibraryDatabase();
  EXPECT_THROW(OpenLibraryDatabase(), std::runtime_error);
  sqlite::Database raw(paths::kLibraryDb);
  EXPECT_EQ(raw.PragmaInt("user_version"), 999);
}

TEST_F(SchemaMigration, AnUnmigratedDatabaseIsUpgradedInPlace) {
  {
    sqlite::Database raw(paths::kLibraryDb);
    raw.Exec("CREATE TABLE keep_me (x); INSERT INTO keep_me VALUES (1)");
  }
  EXPECT_EQ(CountRows(Db(), "keep_me"), 1);
  EXPECT_EQ(CountRows(Db(), "tracks"), 0);
}

}  // namespace
}  // namespace Sonvik::library::testing
