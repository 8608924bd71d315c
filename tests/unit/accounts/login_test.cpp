#include <sodium.h>
#include <sqlite3.h>

#include "unit/accounts/test_store.h"

namespace Sonvik::testing {
namespace {

using QUOR::accounts::AccountError;
using QUOR::accounts::LoginResult;
using QUOR::accounts::User;

class LoginTest : public AccountStoreTest {
 protected:
  void SetUp() override {
    AccountStoreTest::SetUp();
    store().AddUser("alice", "right");
    store().AddUser("bob", "bobs");
  }
  LoginResult Try(const std::string& name, const std::string& password,
                  const std::string& address = "10.0.0.1") {
    return store().Login(name, password, address, nullptr);
  }
};

TEST_F(LoginTest, RightPasswordLogsInAndFillsTheUser) {
  User user;
  EXPECT_EQ(store().Login("alice", "right", "10.0.0.1", &user), LoginResult::kOk);
  EXPECT_EQ(user.name, "alice");
  EXPECT_EQ(user.uid, 1024u);
  EXPECT_EQ(Try("alice", "wrong"), LoginResult::kWrongCredentials);
  EXPECT_EQ(Try("alice", "Right"), LoginResult::kWrongCredentials);
  EXPECT_EQ(Try("alice", "right "), LoginResult::kWrongCredentials);
  EXPECT_EQ(Try("nobody", "right"), LoginResult::kWrongCredentials);
  EXPECT_EQ(Try("alice", "bobs"), LoginResult::kWrongCredentials);
}

TEST_F(LoginTest, FiveFailuresLockTheAccountOutForTheRestOfTheWindow) {
  for (int i = 0; i < 5; ++i) {
    EXPECT_EQ(Try("alice", "wrong", "10.0.0." + std::to_string(i)), LoginResult::kWrongCredentials);
  }
  // Even the right password, from a fresh address, is refused now.
  EXPECT_EQ(Try("alice", "right", "10.0.0.99"), LoginResult::kRateLimited);
  EXPECT_EQ(Try("bob", "bobs", "10.0.0.98"), LoginResult::kOk);  // other accounts unaffected
  now_ += 299;
  EXPECT_EQ(Try("alice", "right", "10.0.0.99"), LoginResult::kRateLimited);
  now_ += 1;
  EXPECT_EQ(Try("alice", "right", "10.0.0.99"), LoginResult::kOk);
}

TEST_F(LoginTest, UnknownAccountNamesAreCountedToo) {
  for (int i = 0; i < 5; ++i) Try("nobody", "x", "10.0.0." + std::to_string(i));
  EXPECT_EQ(Try("nobody", "x", "10.0.1.1"), LoginResult::kRateLimited);
}

TEST_F(LoginTest, FiveFailuresFromOneAddressLockThatAddressOut) {
  for (const char* name : {"alice", "bob", "carol", "dave", "eve"}) {
    EXPECT_EQ(Try(name, "guess", "192.0.2.7"), LoginResult::kWrongCredentials);
  }
  EXPECT_EQ(Try("alice", "right", "192.0.2.7"), LoginResult::kRateLimited);
  EXPECT_EQ(Try("alice", "right", "192.0.2.8"), LoginResult::kOk);
  now_ += 300;
  EXPECT_EQ(Try("bob", "bobs", "192.0.2.7"), LoginResult::kOk);
}

TEST_F(LoginTest, SuccessClearsTheAccountCountButNotTheAddressCount) {
  for (int i = 0; i < 4; ++i) Try("alice", "wrong", "10.0.0.1");
  EXPECT_EQ(Try("alice", "right", "10.0.0.2"), LoginResult::kOk);
  // The account starts afresh: four more failures do not lock it.
  for (int i = 0; i < 4; ++i) {
    EXPECT_EQ(Try("alice", "wrong", "10.0.1." + std::to_string(i)), LoginResult::kWrongCredentials);
  }
  EXPECT_EQ(Try("alice", "right", "10.0.2.1"), LoginResult::kOk);

  // A guesser's own account cannot wipe its address's record: bob logging in from 10.0.0.1
  // leaves the four failures there, so one more locks the address.
  EXPECT_EQ(Try("bob", "bobs", "10.0.0.1"), LoginResult::kOk);
  EXPECT_EQ(Try("carol", "x", "10.0.0.1"), LoginResult::kWrongCredentials);
  EXPECT_EQ(Try("bob", "bobs", "10.0.0.1"), LoginResult::kRateLimited);
}

TEST_F(LoginTest, LockOutIsSharedBetweenProcessesThroughTheDatabase) {
  for (int i = 0; i < 5; ++i) Try("alice", "wrong");
  Open();  // another worker's view of the same file
  EXPECT_EQ(Try("alice", "right", "10.9.9.9"), LoginResult::kRateLimited);
}

TEST_F(LoginTest, NewPasswordReplacesTheOldAndEndsSessionsButNotTokens) {
  std::string sid = store().CreateSession(1024);
  std::string token = store().CreateToken("alice");
  store().SetPassword("alice", "new");
  EXPECT_EQ(Try("alice", "right"), LoginResult::kWrongCredentials);
  EXPECT_EQ(Try("alice", "new"), LoginResult::kOk);
  EXPECT_FALSE(store().ResolveSession(sid));
  EXPECT_TRUE(store().ResolveToken(token));
  EXPECT_THROW(store().SetPassword("nobody", "x"), AccountError);
  EXPECT_THROW(store().SetPassword("alice", ""), AccountError);
  EXPECT_EQ(Try("alice", "new"), LoginResult::kOk);
}

}  // namespace
}  // namespace Sonvik::testing

namespace Sonvik::testing {
namespace {

TEST_F(LoginTest, HashMadeWithOlderLimitsIsRenewedAtTheNextLogin) {
  char weak[crypto_pwhash_STRBYTES];
  ASSERT_EQ(
      crypto_pwhash_str(weak, "old", 3, crypto_pwhash_OPSLIMIT_MIN, crypto_pwhash_MEMLIMIT_MIN), 0);
  store_.reset();
  sqlite3* db = nullptr;
  ASSERT_EQ(sqlite3_open(db_path_.c_str(), &db), SQLITE_OK);
  sqlite3_stmt* update = nullptr;
  ASSERT_EQ(sqlite3_prepare_v2(db, "UPDATE users SET password_hash = ? WHERE name = 'alice'", -1,
                               &update, nullptr),
            SQLITE_OK);
  sqlite3_bind_text(update, 1, weak, -1, SQLITE_TRANSIENT);
  EXPECT_EQ(sqlite3_step(update), SQLITE_DONE);
  sqlite3_finalize(update);
  Open();

  EXPECT_EQ(Try("alice", "old"), LoginResult::kOk);

  std::string stored;
  sqlite3_stmt* select = nullptr;
  ASSERT_EQ(sqlite3_prepare_v2(db, "SELECT password_hash FROM users WHERE name = 'alice'", -1,
                               &select, nullptr),
            SQLITE_OK);
  ASSERT_EQ(sqlite3_step(select), SQLITE_ROW);
  stored = reinterpret_cast<const char*>(sqlite3_column_text(select, 0));
  sqlite3_finalize(select);
  sqlite3_close(db);
  EXPECT_NE(stored, weak);
  EXPECT_EQ(crypto_pwhash_str_needs_rehash(stored.c_str(), crypto_pwhash_OPSLIMIT_INTERACTIVE,
                                           crypto_pwhash_MEMLIMIT_INTERACTIVE),
            0);
  EXPECT_EQ(Try("alice", "old"), LoginResult::kOk);
}

}  // namespace
}  // namespace Sonvik::testing
