#pragma once
// A fresh library database at the package's fixed path (the test namespace's own tmpfs), with
// helpers that add tracks the way the scanner does: the row first, then IndexTrack.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "package/library/library_database.h"
#include "package/paths.h"
#include "package/search/search_db_manager.h"
#include "package/search/search_index.h"
#include "package/sqlite/statement.h"

namespace Sonvik::search::testing {

struct Tags {
  std::string title;
  std::string album;
  std::string artist;
  int disc = 0;
  int track_number = 0;
};

class SearchEngineTest : public ::testing::Test {
 protected:
  void SetUp() override {
    library::CloseProcessLibraryDatabase();
    std::filesystem::remove_all(paths::kStateDir);
    std::filesystem::create_directories(paths::kStateDir);
    shared_ = AddLibrary("/music", 0, true);
  }
  void TearDown() override { library::CloseProcessLibraryDatabase(); }

  static sqlite3* Db() { return library::ProcessLibraryDatabase().get(); }

  static int64_t AddLibrary(const std::string& path, unsigned owner_uid, bool enabled) {
    sqlite::Statement insert(Db(),
                             "INSERT INTO libraries (path, owner_uid, owner_name, enabled)"
                             " VALUES (?, ?, ?, ?)");
    insert.BindAll(path, owner_uid, owner_uid == 0 ? "" : "user" + std::to_string(owner_uid),
                   enabled ? 1 : 0);
    insert.Run();
    return sqlite3_last_insert_rowid(Db());
  }

  static int64_t AddTrack(int64_t library_id, const Tags& tags) {
    static int serial = 0;
    sqlite::Statement insert(Db(),
                             "INSERT INTO tracks (library_id, path, title, album, artist, disc,"
                             " track_number, container, codec) VALUES (?, ?, ?, ?, ?, ?, ?,"
                             " 'flac', 'flac')");
    insert.BindAll(library_id, "/music/" + std::to_string(++serial) + ".flac", tags.title,
                   tags.album, tags.artist, tags.disc, tags.track_number);
    insert.Run();
    const int64_t id = sqlite3_last_insert_rowid(Db());
    IndexTrack(Db(), id, tags.title, tags.album, tags.artist);
    return id;
  }

  int64_t AddTrack(const Tags& tags) { return AddTrack(shared_, tags); }

  static void SetEnabled(int64_t library_id, bool enabled) {
    sqlite::Statement update(Db(), "UPDATE libraries SET enabled = ? WHERE id = ?");
    update.BindAll(enabled ? 1 : 0, library_id);
    update.Run();
  }

  static int64_t RowCount(const char* table) {
    sqlite::Statement count(Db(), std::string("SELECT count(*) FROM ") + table);
    count.Step();
    return count.ColumnInt64(0);
  }

  // One query of the engine as the handler runs it: fresh state, the conditions, all fields.
  static std::vector<int64_t> Search(unsigned uid, const std::vector<AllSearchItem>& conditions,
                                     SortBy sort = SORT_BY_TRACK_ID, int offset = 0,
                                     int limit = 5000) {
    SearchDBManager manager(uid);
    manager.Init();
    manager.conditions = conditions;
    manager.helper().GetEditableSearchTypeInfo<SearchAlbum>().fill = true;
    manager.helper().GetEditableSearchTypeInfo<SearchArtist>().fill = true;
    manager.helper().GetEditableSearchTypeInfo<SearchTitle>().fill = true;
    EXPECT_NE(manager.GetTrackByCondition({offset, limit, sort}), 0) << manager.error;
    std::vector<int64_t> ids;
    for (const SearchResult& result : manager.results) ids.push_back(result.id);
    return ids;
  }

  static std::vector<int64_t> Title(const std::string& keyword, unsigned uid = 0) {
    return Search(uid, {AllSearchItem("", "", keyword)});
  }

  static int32_t Count(unsigned uid, const std::vector<AllSearchItem>& conditions) {
    SearchDBManager manager(uid);
    manager.Init();
    manager.conditions = conditions;
    EXPECT_NE(manager.CountTrackByCondition(), 0) << manager.error;
    return manager.count;
  }

  int64_t shared_ = 0;
};

using Ids = std::vector<int64_t>;

}  // namespace Sonvik::search::testing
