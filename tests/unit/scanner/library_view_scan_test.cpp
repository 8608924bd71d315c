// Whose tracks a scan finds: shared folders for everyone, personal folders for their owner only
// while switched on, and a personal folder nested in a shared one keeps its files to itself.
#include <gtest/gtest.h>

#include <string>

#include "package/library/library_folders.h"
#include "package/library/personal_library.h"
#include "package/library/track_record.h"
#include "unit/scanner/scan_fixture.h"

namespace Sonvik::scanner::testing {
namespace {

constexpr unsigned kAlice = 1025;
constexpr unsigned kBob = 1026;

class LibraryViewScan : public ScanTest {
 protected:
  void SetUp() override {
    ScanTest::SetUp();
    MakeAudioFile(music_ / "shared/song.mp3", 1.0, {{"title", "Shared"}});
    MakeAudioFile(music_ / "shared/alice/mine.mp3", 1.0, {{"title", "Alice"}});
    MakeAudioFile(music_ / "bob/his.mp3", 1.0, {{"title", "Bob"}});
    AddShared(music_ / "shared");
    library::SetPersonalLibrary(kAlice, "alice", (music_ / "shared/alice").string());
    library::SetPersonalLibrary(kBob, "bob", (music_ / "bob").string());
    library::DisablePersonalLibrary(kBob);
  }
  // The track's title as `uid` sees it, or "" when it is not in their view.
  std::string Visible(unsigned uid, const char* title) {
    const int64_t id = Count(std::string("SELECT id FROM tracks WHERE title = '") + title + "'");
    TrackRecord record{};
    if (QUORMusicGetOneById("all", uid, 0, &record, 0, std::to_string(id).c_str()) != 0) {
      return "";
    }
    return record.title;
  }
};

TEST_F(LibraryViewScan, PersonalTracksBelongToTheirOwner) {
  Scan();
  EXPECT_EQ(Count("SELECT count(*) FROM tracks"), 2);  // Bob's folder is off: not scanned
  const auto alice_folder = library::FindPersonalFolder(Db(), kAlice);
  EXPECT_EQ(Count("SELECT library_id FROM tracks WHERE title = 'Alice'"), alice_folder->id);
  EXPECT_EQ(Visible(kAlice, "Shared"), "Shared");
  EXPECT_EQ(Visible(kBob, "Shared"), "Shared");
  EXPECT_EQ(Visible(kAlice, "Alice"), "Alice");
  EXPECT_EQ(Visible(kBob, "Alice"), "");
  EXPECT_EQ(Visible(0, "Alice"), "");
}

TEST_F(LibraryViewScan, SwitchingAFolderOffHidesAtOnceAndTheNextScanDropsIt) {
  library::SetPersonalLibrary(kBob, "bob", (music_ / "bob").string());
  Scan();
  EXPECT_EQ(Visible(kBob, "Bob"), "Bob");
  library::DisablePersonalLibrary(kBob);
  EXPECT_EQ(Visible(kBob, "Bob"), "");
  EXPECT_EQ(Count("SELECT count(*) FROM tracks WHERE title = 'Bob'"), 1);
  Scan();
  EXPECT_EQ(Count("SELECT count(*) FROM tracks WHERE title = 'Bob'"), 0);
}

TEST_F(LibraryViewScan, RemovingAPersonalFolderGivesItsFilesBackToTheSharedOne) {
  Scan();
  library::RemovePersonalLibrary(kAlice);
  EXPECT_EQ(Count("SELECT count(*) FROM tracks WHERE title = 'Alice'"), 0);
  Scan();
  EXPECT_EQ(Visible(kBob, "Alice"), "Alice");
}

}  // namespace
}  // namespace Sonvik::scanner::testing
