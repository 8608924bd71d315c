#include <sqlite3.h>
#include <sys/stat.h>

#include <fstream>
#include <iterator>

#include "host/accounts/credential_cache.h"
#include "unit/accounts/test_store.h"

namespace Sonvik::testing {
namespace {

using QUOR::accounts::AccountError;

class SessionsTokensTest : public AccountStoreTest {
 protected:
  void SetUp() override {
    AccountStoreTest::SetUp();
    uid_ = store().AddUser("alice", "pw").uid;
  }

  // The database with its WAL, as bytes: what a stolen copy would hold.
  std::string StoredBytes() {
    std::string bytes;
    for (const std::string suffix : {"", "-wal"}) {
      std::ifstream in(db_path_ + suffix, std::ios::binary);
      bytes.append(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
    return bytes;
  }

  unsigned uid_ = 0;
};

TEST_F(SessionsTokensTest, SessionLastsWhileUsedAndEndsAfterAWeekIdle) {
  std::string sid = store().CreateSession(uid_);
  EXPECT_EQ(sid.size(), 64u);
  EXPECT_NE(store().CreateSession(uid_), sid);

  // Used every six days: stays alive well past seven days from creation.
  for (int i = 0; i < 3; ++i) {
    now_ += 6 * 24 * 3600;
    auto user = store().ResolveSession(sid);
    ASSERT_TRUE(user) << "after " << i + 1 << " uses";
    EXPECT_EQ(user->name, "alice");
    EXPECT_EQ(user->uid, uid_);
  }
  now_ += 7 * 24 * 3600;
  EXPECT_FALSE(store().ResolveSession(sid));
  now_ -= 7 * 24 * 3600;  // and it stays gone
  EXPECT_FALSE(store().ResolveSession(sid));
}

TEST_F(SessionsTokensTest, LogoutEndsOnlyThatSession) {
  std::string first = store().CreateSession(uid_);
  std::string second = store().CreateSession(uid_);
  store().DeleteSession(first);
  EXPECT_FALSE(store().ResolveSession(first));
  EXPECT_TRUE(store().ResolveSession(second));
  EXPECT_FALSE(store().ResolveSession(""));
  EXPECT_FALSE(store().ResolveSession(second.substr(0, 63)));
  EXPECT_THROW(store().CreateSession(4242), AccountError);
}

TEST_F(SessionsTokensTest, TokenResolvesToItsUserAndSecretsAreStoredOnlyAsDigests) {
  const std::string password = "correct horse battery staple";
  store().SetPassword("alice", password);
  std::string token = store().CreateToken("alice");
  std::string sid = store().CreateSession(uid_);
  EXPECT_EQ(token.size(), 64u);
  auto user = store().ResolveToken(token);
  ASSERT_TRUE(user);
  EXPECT_EQ(user->name, "alice");
  EXPECT_FALSE(store().ResolveSession(token));  // a token is no session id, and back
  EXPECT_FALSE(store().ResolveToken(sid));

  std::string bytes = StoredBytes();
  ASSERT_FALSE(bytes.empty());
  EXPECT_EQ(bytes.find(token), std::string::npos);
  EXPECT_EQ(bytes.find(sid), std::string::npos);
  EXPECT_EQ(bytes.find(password), std::string::npos);
  EXPECT_THROW(store().CreateToken("nobody"), AccountError);
}

TEST_F(SessionsTokensTest, ListingShowsUseAndRevokingEndsTheToken) {
  std::string first = store().CreateToken("alice");
  std::string second = store().CreateToken("alice");
  auto tokens = store().ListTokens();
  ASSERT_EQ(tokens.size(), 2u);
  EXPECT_EQ(tokens[0].created, now_);
  EXPECT_EQ(tokens[0].last_used, 0);

  now_ += 3600;
  ASSERT_TRUE(store().ResolveToken(first));
  tokens = store().ListTokens();
  EXPECT_EQ(tokens[0].last_used, now_);
  EXPECT_EQ(tokens[1].last_used, 0);

  EXPECT_TRUE(store().RevokeToken(tokens[0].id));
  EXPECT_FALSE(store().RevokeToken(tokens[0].id));
  EXPECT_FALSE(store().ResolveToken(first));
  EXPECT_TRUE(store().ResolveToken(second));
}

// A worker keeps its store open across requests while the CLI changes accounts through its own
// connection: every lookup must see those changes, and none may leave a read open that holds
// back the other connection's checkpoint.
TEST_F(SessionsTokensTest, AnOpenStoreSeesOtherConnectionsChangesAndHoldsNoReadBetweenLookups) {
  std::string sid = store().CreateSession(uid_);
  std::string token = store().CreateToken("alice");
  std::string other_sid = store().CreateSession(uid_);
  for (int i = 0; i < 3; ++i) {
    ASSERT_TRUE(store().ResolveSession(sid));
    ASSERT_TRUE(store().ResolveToken(token));
    ASSERT_TRUE(store().FindUserByUid(uid_));
  }
  EXPECT_FALSE(store().ResolveSession("f00d"));  // a miss also ends its read

  {
    QUOR::accounts::AccountStoreOptions options;
    options.users_dir = dir_ + "/users";
    QUOR::accounts::AccountStore cli(db_path_, options);
    cli.DeleteSession(sid);
    ASSERT_TRUE(cli.RevokeToken(cli.ListTokens().at(0).id));
  }
  EXPECT_FALSE(store().ResolveSession(sid));
  EXPECT_FALSE(store().ResolveToken(token));
  ASSERT_TRUE(store().ResolveSession(other_sid));

  // No busy timeout here: a read still open in the store fails this at once.
  sqlite3* raw = nullptr;
  ASSERT_EQ(sqlite3_open_v2(db_path_.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
  EXPECT_EQ(sqlite3_wal_checkpoint_v2(raw, nullptr, SQLITE_CHECKPOINT_TRUNCATE, nullptr, nullptr),
            SQLITE_OK)
      << sqlite3_errmsg(raw);
  sqlite3_close(raw);

  {
    QUOR::accounts::AccountStoreOptions options;
    options.users_dir = dir_ + "/users";
    QUOR::accounts::AccountStore cli(db_path_, options);
    ASSERT_TRUE(cli.DeleteUser("alice"));
  }
  EXPECT_FALSE(store().ResolveSession(other_sid));
  EXPECT_FALSE(store().FindUserByUid(uid_));
}

// Lookups are remembered between requests. A change made through any store is seen at once;
// one made behind the stores' back (a restored backup, a writer killed before it could tell
// the others) is seen within seconds, never later.
TEST_F(SessionsTokensTest, RememberedLookupsNeverOutliveAChangeForMoreThanSeconds) {
  std::string sid = store().CreateSession(uid_);
  std::string token = store().CreateToken("alice");
  EXPECT_FALSE(store().RememberedSession(sid));  // never resolved here
  // The token's first use is noted, a commit: what was remembered before it is stale.
  for (int round = 0; round < 2; ++round) {
    ASSERT_TRUE(store().ResolveSession(sid));
    ASSERT_TRUE(store().ResolveToken(token));
  }
  ASSERT_TRUE(store().RememberedSession(sid));
  EXPECT_EQ(store().RememberedSession(sid)->uid, uid_);
  EXPECT_EQ(store().RememberedToken(token)->name, "alice");
  EXPECT_FALSE(store().RememberedToken(sid));

  sqlite3* raw = nullptr;
  ASSERT_EQ(sqlite3_open_v2(db_path_.c_str(), &raw, SQLITE_OPEN_READWRITE, nullptr), SQLITE_OK);
  ASSERT_EQ(
      sqlite3_exec(raw, "DELETE FROM sessions; DELETE FROM tokens;", nullptr, nullptr, nullptr),
      SQLITE_OK)
      << sqlite3_errmsg(raw);
  sqlite3_close(raw);
  // Remembered from a moment ago, and the counter did not move.
  EXPECT_TRUE(store().ResolveSession(sid));
  EXPECT_TRUE(store().ResolveToken(token));
  now_ += QUOR::accounts::detail::CredentialCache::kMaxAgeSeconds;
  EXPECT_FALSE(store().ResolveSession(sid));
  EXPECT_FALSE(store().ResolveToken(token));

  // Through a store, the very next lookup elsewhere sees it.
  sid = store().CreateSession(uid_);
  token = store().CreateToken("alice");
  ASSERT_TRUE(store().ResolveSession(sid));
  ASSERT_TRUE(store().ResolveToken(token));
  {
    QUOR::accounts::AccountStoreOptions options;
    options.users_dir = dir_ + "/users";
    options.clock = [this] { return now_; };
    QUOR::accounts::AccountStore other(db_path_, options);
    other.SetPassword("alice", "new");  // ends her sessions, keeps tokens
    EXPECT_FALSE(store().RememberedSession(sid));
    EXPECT_FALSE(store().ResolveSession(sid));
    EXPECT_TRUE(store().ResolveToken(token));
    ASSERT_TRUE(other.RevokeToken(other.ListTokens().at(0).id));
    EXPECT_FALSE(store().ResolveToken(token));
  }
  struct stat info {};
  ASSERT_EQ(stat((db_path_ + "-changes").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
}

}  // namespace
}  // namespace Sonvik::testing
