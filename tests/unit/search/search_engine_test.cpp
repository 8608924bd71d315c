// The track search engine over a real library database: voice matching through the index,
// alternatives and required kinds, the user's view, sorting, paging, counting and errors.
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <stdexcept>

#include "engine_fixture.h"
#include "package/search/voice_fold.h"
#include "package/sqlite/transaction.h"

namespace Sonvik::search::testing {
namespace {

TEST_F(SearchEngineTest, SpokenFormsFindWrittenTags) {
  const int64_t hey_jude = AddTrack({"Hey Jude", "Past Masters", "The Beatles"});
  const int64_t they = AddTrack({"They Say", "Hey Hey", "Someone"});
  const int64_t highway = AddTrack({"Highway to Hell", "Highway to Hell", "AC/DC"});
  const int64_t losing = AddTrack({"Losing My Religion", "Out of Time", "R.E.M."});
  const int64_t dont_stop = AddTrack({"Don't Stop Me Now", "Jazz", "Queen"});
  const int64_t waterloo = AddTrack({"Waterloo", "Waterloo", "ABBA"});
  const int64_t crazy = AddTrack({"Crazy in Love", "Dangerously in Love", "Beyoncé"});
  const int64_t rocky = AddTrack({"Eye of the Tiger (Rocky IV)", "Soundtrack", "Survivor"});
  const int64_t guns = AddTrack({"Paradise City", "Appetite", "Guns N' Roses"});

  EXPECT_EQ(Title("hey"), (Ids{hey_jude}));  // not "They"
  EXPECT_EQ(Title("hey jude"), (Ids{hey_jude}));
  EXPECT_EQ(Title("jude"), (Ids{hey_jude}));
  EXPECT_EQ(Title("don t stop"), (Ids{dont_stop}));
  EXPECT_EQ(Title("dont stop me"), (Ids{dont_stop}));
  EXPECT_EQ(Title("rocky four"), (Ids{rocky}));
  EXPECT_EQ(Title("tiger rocky 4"), (Ids{rocky}));
  EXPECT_EQ(Title("eye of the tiger rocky iv"), (Ids{rocky}));
  EXPECT_EQ(Title("in love"), (Ids{crazy}));
  EXPECT_EQ(Title("they"), (Ids{they}));

  auto artist = [](const std::string& keyword) {
    return Search(0, {AllSearchItem("", keyword, "")});
  };
  EXPECT_EQ(artist("A B B A"), (Ids{waterloo}));
  EXPECT_EQ(artist("R E M"), (Ids{losing}));
  EXPECT_EQ(artist("ac dc"), (Ids{highway}));
  EXPECT_EQ(artist("ACDC"), (Ids{highway}));
  EXPECT_EQ(artist("beatles"), (Ids{hey_jude}));
  EXPECT_EQ(artist("the beatles"), (Ids{hey_jude}));
  EXPECT_EQ(artist("beyonce"), (Ids{crazy}));
  EXPECT_EQ(artist("guns and roses"), (Ids{guns}));
  EXPECT_EQ(artist("guns n roses"), (Ids{guns}));
  EXPECT_EQ(artist("the"), (Ids{hey_jude}));
  EXPECT_EQ(artist("e m"), Ids{});
  EXPECT_EQ(artist("beatle"), Ids{});
}

TEST_F(SearchEngineTest, LongPhrasesAcrossManyTokens) {
  const int64_t road =
      AddTrack({"The Long and Winding Road Through the Misty Mountains of Yesterday", "", "Band"});
  AddTrack({"The Long and Winding Road", "", "Band"});
  const int64_t both = road + 1;
  EXPECT_EQ(Title("long and winding road through the misty mountains of yesterday"), (Ids{road}));
  EXPECT_EQ(Title("the long and winding road through the misty mountains"), (Ids{road}));
  EXPECT_EQ(Title("long and winding road"), (Ids{road, both}));
  EXPECT_EQ(Title("long and winding roa"), Ids{});
  EXPECT_EQ(Title("long and winding road through the misty mountains of yesterdays"), Ids{});
  EXPECT_EQ(Title("misty mountains of yesterday"), (Ids{road}));
}

TEST_F(SearchEngineTest, AlternativesAndRequiredKinds) {
  const int64_t a = AddTrack({"Come Together", "Abbey Road", "The Beatles"});
  const int64_t b = AddTrack({"Something", "Abbey Road", "The Beatles"});
  const int64_t c = AddTrack({"Abbey Road", "Tribute", "Other Band"});
  const int64_t d = AddTrack({"Together", "Live", "Other Band"});
  // Within a condition every named kind must match.
  EXPECT_EQ(Search(0, {AllSearchItem("abbey road", "beatles", "")}), (Ids{a, b}));
  EXPECT_EQ(Search(0, {AllSearchItem("abbey road", "beatles", "something")}), (Ids{b}));
  EXPECT_EQ(Search(0, {AllSearchItem("abbey road", "other band", "")}), Ids{});
  // The conditions of one attempt are alternatives; a track found twice counts once.
  EXPECT_EQ(Search(0, {AllSearchItem("", "", "together"), AllSearchItem("", "", "abbey")}),
            (Ids{a, c, d}));
  EXPECT_EQ(Count(0, {AllSearchItem("", "", "together"), AllSearchItem("", "", "together"),
                      AllSearchItem("abbey road", "", "")}),
            3);
}

TEST_F(SearchEngineTest, PersonalLibrariesInTheirOwnersViewOnly) {
  const int64_t shared = AddTrack({"Blue Song", "", ""});
  const int64_t alice_lib = AddLibrary("/home/alice/music", 1042, true);
  const int64_t bob_lib = AddLibrary("/home/bob/music", 1043, true);
  const int64_t alice = AddTrack(alice_lib, {"Blue Moon", "", ""});
  const int64_t bob = AddTrack(bob_lib, {"Blue Bayou", "", ""});

  EXPECT_EQ(Title("blue", 0), (Ids{shared}));
  EXPECT_EQ(Title("blue", 1042), (Ids{shared, alice}));
  EXPECT_EQ(Title("blue", 1043), (Ids{shared, bob}));
  EXPECT_EQ(Count(1042, {AllSearchItem("", "", "blue")}), 2);
  SetEnabled(alice_lib, false);
  EXPECT_EQ(Title("blue", 1042), (Ids{shared}));
  EXPECT_EQ(Title("moon", 1042), Ids{});
}

TEST_F(SearchEngineTest, PagingAndSortOrders) {
  // Added out of album order so that id order and album order differ.
  const int64_t z2 = AddTrack({"Love Two", "Zebra", "", 1, 2});
  const int64_t a_d2 = AddTrack({"Love Three", "Apple", "", 2, 1});
  const int64_t a_d1t2 = AddTrack({"Love Four", "Apple", "", 1, 2});
  const int64_t a_d1t1 = AddTrack({"Love Five", "Apple", "", 1, 1});
  const int64_t m = AddTrack({"Love Six", "Mango", "", 0, 0});
  const int64_t z1 = AddTrack({"Love Seven", "Zebra", "", 1, 1});
  const int64_t twin = AddTrack({"Love Eight", "Zebra", "", 1, 1});  // tie: broken by id
  AddTrack({"Hate", "Apple", "", 1, 3});

  const std::vector<AllSearchItem> love = {AllSearchItem("", "", "love")};
  EXPECT_EQ(Search(0, love), (Ids{z2, a_d2, a_d1t2, a_d1t1, m, z1, twin}));
  EXPECT_EQ(Search(0, love, SORT_BY_TRACK_ID, 2, 3), (Ids{a_d1t2, a_d1t1, m}));
  EXPECT_EQ(Search(0, love, SORT_BY_TRACK_ID, 6, 10), (Ids{twin}));
  EXPECT_EQ(Search(0, love, SORT_BY_TRACK_ID, 7, 10), Ids{});
  const Ids album_order = {a_d1t1, a_d1t2, a_d2, m, z1, twin, z2};
  EXPECT_EQ(Search(0, love, SORT_BY_ALBUM), album_order);
  EXPECT_EQ(Search(0, love, SORT_BY_ALBUM, 1, 3), (Ids{a_d1t2, a_d2, m}));
  EXPECT_EQ(Search(0, love, SORT_BY_ALBUM, 6, 3), (Ids{z2}));
  EXPECT_EQ(Search(0, love, SORT_BY_ALBUM, 9, 3), Ids{});
  EXPECT_EQ(Search(0, love, SORT_BY_NONE), Search(0, love));
  EXPECT_EQ(Search(0, love, SORT_BY_TRACK_ID, 0, 0), Ids{});
  EXPECT_EQ(Count(0, love), 7);
}

TEST_F(SearchEngineTest, AlbumOrderFromSortedKeysAndFromTheWalkAgree) {
  // 3000 tracks, every one matching "song" (dense: the engine walks the album index) and every
  // 97th matching "rare" (sparse: it sorts the matches' keys). Both must give the album order.
  std::mt19937 random(7);
  std::vector<std::pair<std::tuple<std::string, int, int>, int64_t>> dense, sparse;
  for (int i = 0; i < 3000; ++i) {
    const std::string album = "Album " + std::to_string(random() % 40);
    const int disc = static_cast<int>(random() % 3);
    const int number = static_cast<int>(random() % 12);
    const bool rare = i % 97 == 0;
    const int64_t id = AddTrack({rare ? "Song rare" : "Song", album, "", disc, number});
    dense.push_back({{album, disc, number}, id});
    if (rare) sparse.push_back({{album, disc, number}, id});
  }
  std::sort(dense.begin(), dense.end());
  std::sort(sparse.begin(), sparse.end());
  auto ids_of = [](const auto& rows, size_t from, size_t n) {
    Ids ids;
    for (size_t i = from; i < std::min(rows.size(), from + n); ++i) ids.push_back(rows[i].second);
    return ids;
  };
  EXPECT_EQ(Search(0, {AllSearchItem("", "", "song")}, SORT_BY_ALBUM, 0, 20), ids_of(dense, 0, 20));
  EXPECT_EQ(Search(0, {AllSearchItem("", "", "song")}, SORT_BY_ALBUM, 1500, 50),
            ids_of(dense, 1500, 50));
  EXPECT_EQ(Search(0, {AllSearchItem("", "", "rare")}, SORT_BY_ALBUM, 0, 100),
            ids_of(sparse, 0, 100));
  EXPECT_EQ(Search(0, {AllSearchItem("", "", "rare")}, SORT_BY_ALBUM, 5, 7), ids_of(sparse, 5, 7));
  EXPECT_EQ(Count(0, {AllSearchItem("", "", "song")}), 3000);
}

TEST_F(SearchEngineTest, FieldsFilledOnRequest) {
  const int64_t id = AddTrack({"Title", "Album", "Artist"});
  SearchDBManager manager(0);
  manager.Init();
  manager.conditions = {AllSearchItem("", "", "title")};
  manager.helper().GetEditableSearchTypeInfo<SearchTitle>().fill = true;
  ASSERT_NE(manager.GetTrackByCondition({0, 10, SORT_BY_TRACK_ID}), 0);
  ASSERT_EQ(manager.results.size(), 1u);
  const SearchResult& result = manager.results[0];
  EXPECT_EQ(result.id, id);
  EXPECT_EQ(result.title, "Title");
  EXPECT_EQ(result.album, "");
  EXPECT_EQ(result.artist, "");
  EXPECT_EQ(result.container, "flac");
  EXPECT_EQ(result.codec, "flac");
  const Json::Value json = result.AsJson();
  EXPECT_TRUE(json["id"].isInt());
  EXPECT_EQ(json.getMemberNames(),
            (std::vector<std::string>{"album", "artist", "codec", "container", "id", "title"}));
}

TEST_F(SearchEngineTest, KeywordsThatFoldToNothing) {
  AddTrack({"Song", "", ""});
  SearchDBManager manager(0);
  for (const std::vector<AllSearchItem>& conditions :
       {std::vector<AllSearchItem>{AllSearchItem("", "", "!!")},
        std::vector<AllSearchItem>{AllSearchItem("", "", "' '")},
        std::vector<AllSearchItem>{AllSearchItem("", "", "")},
        std::vector<AllSearchItem>{AllSearchItem("abbey", "", "?")},
        std::vector<AllSearchItem>{}}) {
    manager.Init();
    manager.conditions = conditions;
    EXPECT_EQ(manager.GetTrackByCondition({0, 10, SORT_BY_TRACK_ID}), 0);
    EXPECT_EQ(manager.error, SEARCH_ERROR_BAD_CONDITION);
    manager.Init();
    manager.conditions = conditions;
    EXPECT_EQ(manager.CountTrackByCondition(), 0);
    EXPECT_EQ(manager.error, SEARCH_ERROR_BAD_CONDITION);
  }
  // An unsearchable alternative does not spoil the others.
  EXPECT_EQ(Count(0, {AllSearchItem("", "", "-"), AllSearchItem("", "", "song")}), 1);
}

TEST_F(SearchEngineTest, ReindexingAndRemovalLeaveNothingBehind) {
  std::vector<int64_t> ids;
  // Over 255 tracks of one chunk share "common": its posting row becomes a bitmap and back.
  for (int i = 0; i < 400; ++i) {
    ids.push_back(AddTrack({"Common Title " + std::to_string(i), "Some Album", "AC/DC"}));
  }
  EXPECT_EQ(Count(0, {AllSearchItem("", "", "common title")}), 400);
  EXPECT_EQ(Count(0, {AllSearchItem("", "acdc", "")}), 400);

  // Retagged: the old words no longer find it, the new ones do.
  sqlite::Statement retag(Db(), "UPDATE tracks SET title = 'Fresh Words' WHERE id = ?");
  retag.Bind(1, ids[0]);
  retag.Run();
  IndexTrack(Db(), ids[0], "Fresh Words", "Some Album", "AC/DC");
  EXPECT_EQ(Count(0, {AllSearchItem("", "", "common")}), 399);
  EXPECT_EQ(Title("fresh words"), (Ids{ids[0]}));

  for (size_t i = 0; i < 350; ++i) UnindexTrack(Db(), ids[i]);
  EXPECT_EQ(Count(0, {AllSearchItem("", "", "common")}), 50);
  EXPECT_EQ(Search(0, {AllSearchItem("", "", "common")}, SORT_BY_TRACK_ID, 0, 3),
            (Ids{ids[350], ids[351], ids[352]}));
  for (size_t i = 350; i < ids.size(); ++i) UnindexTrack(Db(), ids[i]);
  UnindexTrack(Db(), ids[0]);  // twice: nothing happens
  EXPECT_EQ(RowCount("search_track"), 0);
  EXPECT_EQ(RowCount("search_posting"), 0);
  EXPECT_EQ(RowCount("search_span"), 0);
}

TEST_F(SearchEngineTest, IndexingATrackWithoutRowChangesNothing) {
  EXPECT_THROW(IndexTrack(Db(), 999, "Ghost", "", ""), std::runtime_error);
  EXPECT_EQ(RowCount("search_track"), 0);
  EXPECT_EQ(RowCount("search_posting"), 0);
}

TEST_F(SearchEngineTest, AfterInitNothingIsReported) {
  AddTrack({"Song", "", ""});
  SearchDBManager manager(0);
  manager.conditions = {AllSearchItem("", "", "song")};
  ASSERT_NE(manager.CountTrackByCondition(), 0);
  ASSERT_EQ(manager.count, 1);
  manager.Init();
  EXPECT_EQ(manager.count, 0);
  EXPECT_TRUE(manager.results.empty());
  EXPECT_TRUE(manager.conditions.empty());
  EXPECT_EQ(manager.error, SEARCH_ERROR_NONE);
}

TEST_F(SearchEngineTest, UnreadableDatabaseIsAnEngineFailure) {
  library::CloseProcessLibraryDatabase();
  std::filesystem::remove_all(paths::kStateDir);  // nowhere to open or create the database
  SearchDBManager manager(0);
  manager.conditions = {AllSearchItem("", "", "song")};
  EXPECT_EQ(manager.GetTrackByCondition({0, 10, SORT_BY_TRACK_ID}), 0);
  EXPECT_EQ(manager.error, SEARCH_ERROR_DATABASE);
  std::filesystem::create_directories(paths::kStateDir);
}

// The index must agree with the matching rule applied to every tag directly.
TEST_F(SearchEngineTest, IndexAgreesWithDirectMatching) {
  const std::vector<std::string> words = {"the",   "love",   "lovely",
                                          "a",     "b",      "c",
                                          "ac",    "dc",     "acdc",
                                          "r",     "e",      "m",
                                          "rem",   "don't",  "t",
                                          "hey",   "they",   "x",
                                          "iv",    "four",   "twenty",
                                          "one",   "&",      "n",
                                          "rock",  "roll",   "é",
                                          "øre",   "straße", "strasse",
                                          "AC/DC", "R.E.M.", "mountainsofyesterdayandtomorrow",
                                          "la"};
  std::mt19937 random(42);
  auto phrase = [&](int max_words) {
    std::string text;
    const int n = 1 + static_cast<int>(random() % static_cast<unsigned>(max_words));
    for (int i = 0; i < n; ++i) {
      if (i > 0) text += (random() % 4 == 0) ? "-" : " ";
      text += words[random() % words.size()];
    }
    return text;
  };
  std::vector<std::pair<int64_t, std::vector<std::string>>> titles;
  for (int i = 0; i < 600; ++i) {
    const std::string title = phrase(9);
    titles.push_back({AddTrack({title, "", ""}), VoiceFold(title)});
  }
  for (int q = 0; q < 400; ++q) {
    const std::string keyword = phrase(4);
    const std::string joined = JoinTokens(VoiceFold(keyword));
    if (joined.empty()) continue;
    Ids expected;
    for (const auto& [id, tokens] : titles) {
      if (MatchesFoldedTag(joined, tokens)) expected.push_back(id);
    }
    ASSERT_EQ(Title(keyword), expected) << keyword;
  }
}

// Batched indexing the way the scanner does it: many IndexTrack/UnindexTrack calls in one
// transaction, the same track retagged and removed several times within a batch, tracks spread
// over several chunks, and batches that are rolled back. After every commit the index must agree
// with the matching rule applied to the committed titles.
TEST_F(SearchEngineTest, BatchedIndexAgreesWithDirectMatching) {
  const std::vector<std::string> words = {"the",   "love", "lovely", "a",    "b",     "ac",
                                          "dc",    "acdc", "r",      "e",    "m",     "rem",
                                          "don't", "hey",  "they",   "iv",   "four",  "one",
                                          "&",     "n",    "rock",   "roll", "AC/DC", "R.E.M."};
  std::mt19937 random(4242);
  auto phrase = [&](int max_words) {
    std::string text;
    const int n = 1 + static_cast<int>(random() % static_cast<unsigned>(max_words));
    for (int i = 0; i < n; ++i) {
      if (i > 0) text += (random() % 4 == 0) ? "-" : " ";
      text += words[random() % words.size()];
    }
    return text;
  };
  sqlite::Statement insert(Db(),
                           "INSERT INTO tracks (id, library_id, path, title, container, codec)"
                           " VALUES (?, ?, ?, ?, 'flac', 'flac')");
  sqlite::Statement retag(Db(), "UPDATE tracks SET title = ? WHERE id = ?");
  sqlite::Statement remove(Db(), "DELETE FROM tracks WHERE id = ?");
  std::map<int64_t, std::string> committed;  // id -> title
  auto check = [&](int queries) {
    for (int q = 0; q < queries; ++q) {
      const std::string keyword = phrase(3);
      const std::string joined = JoinTokens(VoiceFold(keyword));
      if (joined.empty()) continue;
      Ids expected;
      for (const auto& [id, title] : committed) {
        if (MatchesFoldedTag(joined, VoiceFold(title))) expected.push_back(id);
      }
      ASSERT_EQ(Title(keyword), expected) << keyword;
    }
  };
  for (int round = 0; round < 12; ++round) {
    const bool roll_back = round % 4 == 3;
    std::map<int64_t, std::string> titles = committed;
    {
      sqlite::Transaction transaction(Db());
      SearchIndexBatch batch(Db());
      for (int op = 0; op < 300; ++op) {
        // Ids over three chunks, so one batch touches several rows of the same token.
        const int64_t id = 1 + static_cast<int64_t>(random() % 12000);
        const std::string title = phrase(6);
        auto it = titles.find(id);
        if (it == titles.end()) {
          insert.Reset();
          insert.BindAll(id, shared_, "/music/" + std::to_string(id) + ".flac", title);
          insert.Run();
          IndexTrack(Db(), id, title, "", "");
          titles[id] = title;
        } else if (random() % 3 == 0) {
          UnindexTrack(Db(), id);
          UnindexTrack(Db(), id);  // twice: nothing more happens
          remove.Reset();
          remove.Bind(1, id);
          remove.Run();
          titles.erase(it);
        } else {
          retag.Reset();
          retag.BindAll(title, id);
          retag.Run();
          IndexTrack(Db(), id, title, "", "");
          it->second = title;
        }
      }
      // A track added, retagged and removed inside one batch leaves nothing behind.
      const int64_t passing = 20000 + round;
      insert.Reset();
      insert.BindAll(passing, shared_, "/music/passing.flac", "Passing Words");
      insert.Run();
      IndexTrack(Db(), passing, "Passing Words", "", "");
      IndexTrack(Db(), passing, "Passing Again", "", "");
      UnindexTrack(Db(), passing);
      remove.Reset();
      remove.Bind(1, passing);
      remove.Run();
      if (!roll_back) {
        batch.Flush();
        transaction.Commit();
        committed = titles;
      }
    }
    check(60);
  }
  EXPECT_EQ(Title("passing"), Ids{});
  ASSERT_FALSE(committed.empty());

  // Removing everything in one batch empties the index.
  {
    sqlite::Transaction transaction(Db());
    SearchIndexBatch batch(Db());
    for (const auto& [id, title] : committed) UnindexTrack(Db(), id);
    batch.Flush();
    transaction.Commit();
  }
  EXPECT_EQ(RowCount("search_track"), 0);
  EXPECT_EQ(RowCount("search_posting"), 0);
  EXPECT_EQ(RowCount("search_span"), 0);
}

TEST_F(SearchEngineTest, OneBatchPerConnection) {
  SearchIndexBatch batch(Db());
  EXPECT_THROW(SearchIndexBatch second(Db()), std::logic_error);
}

}  // namespace
}  // namespace Sonvik::search::testing
