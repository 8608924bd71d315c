// Several worker processes share one accounts database.
#include <sys/wait.h>
#include <unistd.h>

#include <set>
#include <vector>

#include "unit/accounts/test_store.h"

namespace Sonvik::testing {
namespace {

using QUOR::accounts::AccountStore;
using QUOR::accounts::LoginResult;

using ConcurrencyTest = AccountStoreTest;

TEST_F(ConcurrencyTest, WritersInSeveralProcessesWaitForEachOtherInsteadOfFailing) {
  store().AddUser("shared", "pw");
  store_.reset();
  constexpr int kProcesses = 4;
  constexpr int kUsersEach = 2;
  // Many short write transactions, so that the processes collide often.
  constexpr int kTokensEach = 200;
  std::vector<pid_t> children;
  for (int p = 0; p < kProcesses; ++p) {
    pid_t pid = ::fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      int status = 0;
      try {
        QUOR::accounts::AccountStoreOptions options;
        options.users_dir = dir_ + "/users";
        AccountStore store(db_path_, options);
        for (int u = 0; u < kUsersEach; ++u) {
          store.AddUser("p" + std::to_string(p) + "u" + std::to_string(u), "pw");
        }
        QUOR::accounts::User user;
        if (store.Login("shared", "pw", "10.0.0." + std::to_string(p), &user) != LoginResult::kOk) {
          status = 2;
        }
        for (int t = 0; t < kTokensEach; ++t) {
          store.CreateToken("shared");
          if (!store.ResolveSession(store.CreateSession(user.uid))) status = 3;
        }
      } catch (...) {
        status = 1;
      }
      ::_exit(status);
    }
    children.push_back(pid);
  }
  for (pid_t pid : children) {
    int status = -1;
    ASSERT_EQ(::waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "1: an exception, 2: login refused, 3: session lost";
  }

  Open();
  auto users = store().ListUsers();
  ASSERT_EQ(users.size(), 1u + kProcesses * kUsersEach);
  std::set<unsigned> uids;
  for (const auto& user : users) uids.insert(user.uid);
  EXPECT_EQ(uids.size(), users.size());
  EXPECT_EQ(*uids.begin(), 1024u);
  EXPECT_EQ(*uids.rbegin(), 1024u + kProcesses * kUsersEach);
  EXPECT_EQ(store().ListTokens().size(), static_cast<size_t>(kProcesses * kTokensEach));
}

}  // namespace
}  // namespace Sonvik::testing
