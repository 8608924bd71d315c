#include <sqlite3.h>
#include <sys/stat.h>

#include <filesystem>
#include <vector>

#include "unit/accounts/test_store.h"

namespace Sonvik::testing {
namespace {

using QUOR::accounts::AccountError;
using QUOR::accounts::IsValidUserName;

using UsersTest = AccountStoreTest;

TEST_F(UsersTest, AddedUserIsFoundByNameAndUidWithItsPreferenceFolder) {
  auto alice = store().AddUser("alice", "pw-a");
  EXPECT_EQ(alice.uid, 1024u);
  EXPECT_EQ(alice.preference_dir, dir_ + "/users/alice");
  EXPECT_TRUE(std::filesystem::is_directory(alice.preference_dir));

  auto by_name = store().FindUser("alice");
  ASSERT_TRUE(by_name);
  EXPECT_EQ(by_name->uid, 1024u);
  auto by_uid = store().FindUserByUid(1024);
  ASSERT_TRUE(by_uid);
  EXPECT_EQ(by_uid->name, "alice");
  EXPECT_FALSE(store().FindUser("Alice"));
  EXPECT_FALSE(store().FindUserByUid(1025));
}

TEST_F(UsersTest, UidsCountUpFrom1024AndAreNeverReused) {
  EXPECT_EQ(store().AddUser("a", "pw").uid, 1024u);
  EXPECT_EQ(store().AddUser("b", "pw").uid, 1025u);
  ASSERT_TRUE(store().DeleteUser("b"));
  Open();  // the high mark survives reopening
  EXPECT_EQ(store().AddUser("c", "pw").uid, 1026u);
  auto users = store().ListUsers();
  ASSERT_EQ(users.size(), 2u);
  EXPECT_EQ(users[0].name, "a");
  EXPECT_EQ(users[1].name, "c");
}

TEST_F(UsersTest, RefusesDuplicatesBadNamesAndEmptyPasswordsWithoutChangingAnything) {
  store().AddUser("alice", "pw");
  EXPECT_THROW(store().AddUser("alice", "other"), AccountError);
  for (const std::string& bad : std::vector<std::string>{
           "", ".", "..", "a/b", "../etc", "with space", "ü", "a\nb", std::string(65, 'x')}) {
    EXPECT_FALSE(IsValidUserName(bad)) << bad;
    EXPECT_THROW(store().AddUser(bad, "pw"), AccountError) << bad;
  }
  EXPECT_THROW(store().AddUser("bob", ""), AccountError);
  EXPECT_TRUE(IsValidUserName(std::string(64, 'x')));
  EXPECT_TRUE(IsValidUserName("A.b_c-9"));
  ASSERT_EQ(store().ListUsers().size(), 1u);
  EXPECT_EQ(store().AddUser("bob", "pw").uid, 1025u);  // refusals used up no uid
  // Nothing but the two accepted users' folders was made.
  int folders = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(dir_ + "/users")) {
    ++folders;
  }
  EXPECT_EQ(folders, 2);
}

TEST_F(UsersTest, FailingStepBeforeCommitLeavesNoUserAndNoFolder) {
  EXPECT_THROW(store().AddUser(
                   "alice", "pw",
                   [](const QUOR::accounts::User&) { throw std::runtime_error("folder refused"); }),
               std::runtime_error);
  EXPECT_FALSE(store().FindUser("alice"));
  EXPECT_FALSE(std::filesystem::exists(dir_ + "/users/alice"));
  EXPECT_EQ(store().AddUser("alice", "pw").uid, 1024u);
}

TEST_F(UsersTest, DeleteTakesSessionsTokensAndPreferenceFolderAlong) {
  auto alice = store().AddUser("alice", "pw");
  auto bob = store().AddUser("bob", "pw");
  std::filesystem::create_directories(alice.preference_dir + "/playlists");
  std::string sid = store().CreateSession(alice.uid);
  std::string token = store().CreateToken("alice");
  std::string bob_token = store().CreateToken("bob");

  EXPECT_TRUE(store().DeleteUser("alice"));
  EXPECT_FALSE(store().DeleteUser("alice"));
  EXPECT_FALSE(store().ResolveSession(sid));
  EXPECT_FALSE(store().ResolveToken(token));
  EXPECT_FALSE(std::filesystem::exists(alice.preference_dir));
  ASSERT_EQ(store().ListTokens().size(), 1u);
  EXPECT_EQ(store().ListTokens()[0].user_name, "bob");
  EXPECT_TRUE(store().ResolveToken(bob_token));

  // A new user of the same name gets nothing of the old one.
  auto again = store().AddUser("alice", "pw");
  EXPECT_NE(again.uid, alice.uid);
  EXPECT_FALSE(std::filesystem::exists(again.preference_dir + "/playlists"));
}

TEST_F(UsersTest, DatabaseFileIsPrivateAndSurvivesReopening) {
  store().AddUser("alice", "pw");
  struct stat info {};
  ASSERT_EQ(::stat(db_path_.c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  Open();
  QUOR::accounts::User user;
  EXPECT_EQ(store().Login("alice", "pw", "", &user), QUOR::accounts::LoginResult::kOk);
  EXPECT_EQ(user.uid, 1024u);
}

TEST_F(UsersTest, DatabaseFromANewerProgramIsRefused) {
  store_.reset();
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(db_path_.c_str(), &db), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(db, "PRAGMA user_version = 999", nullptr, nullptr, nullptr), SQLITE_OK);
  sqlite3_close(db);
  EXPECT_THROW(Open(), AccountError);
}

}  // namespace
}  // namespace Sonvik::testing
