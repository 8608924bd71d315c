// `sonvik user add` without --password-stdin asks on the terminal, twice, without echo.
#include <pty.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>

#include "host/accounts/account_store.h"
#include "package/paths.h"

namespace Sonvik::testing {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

// A `sonvik` process on a pseudo-terminal of its own.
class TerminalSession {
 public:
  explicit TerminalSession(const std::vector<std::string>& args) {
    std::string binary = std::string(std::getenv("SONVIK_BUILD_DIR")) + "/bin/sonvik";
    std::vector<std::string> storage{binary};
    storage.insert(storage.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (auto& arg : storage) argv.push_back(arg.data());
    argv.push_back(nullptr);
    pid_ = ::forkpty(&master_, nullptr, nullptr, nullptr);
    if (pid_ == 0) {
      ::execv(binary.c_str(), argv.data());
      ::_exit(127);
    }
  }
  ~TerminalSession() {
    if (master_ >= 0) ::close(master_);
  }

  // Reads what the terminal shows until `text` has appeared; false when the process closed the
  // terminal first.
  bool WaitFor(const std::string& text) {
    while (seen_.find(text, consumed_) == std::string::npos) {
      if (!ReadMore()) return false;
    }
    consumed_ = seen_.find(text, consumed_) + text.size();
    return true;
  }
  void Type(const std::string& text) {
    ASSERT_EQ(::write(master_, text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  int Finish() {
    while (ReadMore()) {
    }
    int status = 0;
    ::waitpid(pid_, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  const std::string& seen() const { return seen_; }

 private:
  bool ReadMore() {
    char buffer[256];
    ssize_t n = ::read(master_, buffer, sizeof buffer);
    if (n <= 0) return false;  // EIO once the child has closed the terminal
    seen_.append(buffer, static_cast<size_t>(n));
    return true;
  }

  int master_ = -1;
  pid_t pid_ = -1;
  std::string seen_;
  size_t consumed_ = 0;
};

class PasswordPromptTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* in_namespace = std::getenv("SONVIK_IN_TEST_NAMESPACE");
    ASSERT_TRUE(in_namespace && std::string(in_namespace) == "1")
        << "run through tests/run_in_namespace.sh";
    ASSERT_NE(std::getenv("SONVIK_BUILD_DIR"), nullptr) << "run via ctest";
    std::filesystem::remove_all(paths::kPackageRoot);
    TerminalSession init({"init"});
    ASSERT_EQ(init.Finish(), 0) << init.seen();
  }
};

TEST_F(PasswordPromptTest, AsksTwiceWithoutEchoingThePassword) {
  TerminalSession add({"user", "add", "alice"});
  ASSERT_TRUE(add.WaitFor("New password: ")) << add.seen();
  add.Type("Tr0ub4dor&3\n");
  ASSERT_TRUE(add.WaitFor("Repeat the password: ")) << add.seen();
  add.Type("Tr0ub4dor&3\n");
  EXPECT_EQ(add.Finish(), 0) << add.seen();
  EXPECT_THAT(add.seen(), Not(HasSubstr("Tr0ub4dor")));
  QUOR::accounts::AccountStore store(paths::kAccountsDb);
  EXPECT_EQ(store.Login("alice", "Tr0ub4dor&3", "", nullptr), QUOR::accounts::LoginResult::kOk);
}

TEST_F(PasswordPromptTest, DifferentAnswersAddNobody) {
  TerminalSession add({"user", "add", "alice"});
  ASSERT_TRUE(add.WaitFor("New password: ")) << add.seen();
  add.Type("one\n");
  ASSERT_TRUE(add.WaitFor("Repeat the password: ")) << add.seen();
  add.Type("two\n");
  EXPECT_NE(add.Finish(), 0);
  EXPECT_THAT(add.seen(), HasSubstr("differ"));
  EXPECT_FALSE(QUOR::accounts::AccountStore(paths::kAccountsDb).FindUser("alice"));
}

}  // namespace
}  // namespace Sonvik::testing
