// The privilege guard with real id switches: the tests run as root inside the test namespace.
// setresuid/setresgid are wrapped here so each call is recorded before it reaches the C library.
#include "voice_module/module/run_as_guard.h"

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "support/syslog_capture.h"

namespace {

struct IdCall {
  std::string function;
  long real;
  long effective;
  long saved;
  bool operator==(const IdCall&) const = default;
};

std::vector<IdCall>& IdCalls() {
  static std::vector<IdCall> calls;
  return calls;
}

template <typename Id>
int Forward(const char* function, Id real, Id effective, Id saved) {
  using Fn = int (*)(Id, Id, Id);
  auto next = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, function));
  IdCalls().push_back({function, static_cast<long>(static_cast<int>(real)),
                       static_cast<long>(static_cast<int>(effective)),
                       static_cast<long>(static_cast<int>(saved))});
  return next(real, effective, saved);
}

}  // namespace

extern "C" int setresuid(uid_t real, uid_t effective, uid_t saved) {
  return Forward("setresuid", real, effective, saved);
}
extern "C" int setresgid(gid_t real, gid_t effective, gid_t saved) {
  return Forward("setresgid", real, effective, saved);
}

namespace Sonvik {
namespace {

using Sonvik::testing::CapturedLog;

constexpr uid_t kUser = 1024;
constexpr gid_t kGroup = 100;

class RunAsGuardTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ASSERT_EQ(getuid(), 0u) << "the guard tests need root";
    IdCalls().clear();
    Sonvik::testing::ClearCapturedLog();
  }
  void TearDown() override {
    // Whatever a test did to the effective ids, the saved root id brings them back.
    ASSERT_EQ(::setresuid(-1, 0, -1), 0);
    ASSERT_EQ(::setresgid(-1, 0, -1), 0);
  }
  // Runs `body` in a child process and answers the text it wrote to the pipe.
  template <typename Body>
  static std::string InChild(Body body) {
    int fds[2];
    if (pipe(fds) != 0) return "pipe failed";
    pid_t pid = fork();
    if (pid == 0) {
      close(fds[0]);
      std::string report = body();
      ssize_t written = write(fds[1], report.data(), report.size());
      _exit(written == static_cast<ssize_t>(report.size()) ? 0 : 1);
    }
    close(fds[1]);
    std::string report;
    char buffer[512];
    ssize_t n;
    while ((n = read(fds[0], buffer, sizeof(buffer))) > 0) report.append(buffer, n);
    close(fds[0]);
    int status = 0;
    waitpid(pid, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) report += "\n(child failed)";
    return report;
  }
  static std::string Describe(const std::vector<IdCall>& calls) {
    std::string text;
    for (const auto& c : calls) {
      text += c.function + "(" + std::to_string(c.real) + "," + std::to_string(c.effective) + "," +
              std::to_string(c.saved) + ");";
    }
    return text;
  }
  static std::string DescribeLog() {
    std::string text;
    for (const auto& line : CapturedLog()) {
      text += std::to_string(line.priority) + " " + line.text + "\n";
    }
    return text;
  }
};

TEST_F(RunAsGuardTest, AlreadyRootMakesNoCall) {
  {
    RunAsGuard guard(0, 0, "browse_handler", 241);
    EXPECT_TRUE(guard.switched);
    EXPECT_EQ(guard.saved_euid, 0u);
    EXPECT_EQ(guard.saved_egid, 0u);
    EXPECT_STREQ(guard.name, "IF_RUN_AS");
  }
  EXPECT_TRUE(IdCalls().empty()) << Describe(IdCalls());
  EXPECT_TRUE(CapturedLog().empty());
}

TEST_F(RunAsGuardTest, SwitchesFromUserToRootAndBack) {
  ASSERT_EQ(::setresgid(-1, kGroup, -1), 0);
  ASSERT_EQ(::setresuid(-1, kUser, -1), 0);
  IdCalls().clear();
  {
    RunAsGuard guard(0, 0, "browse_handler", 295);
    ASSERT_TRUE(guard.switched);
    EXPECT_EQ(guard.saved_euid, kUser);
    EXPECT_EQ(guard.saved_egid, kGroup);
    EXPECT_EQ(geteuid(), 0u);
    EXPECT_EQ(getegid(), 0u);
    // Become root, take the group, then the user (which repeats the first call for root).
    EXPECT_EQ(IdCalls(),
              (std::vector<IdCall>{
                  {"setresuid", -1, 0, -1}, {"setresgid", -1, 0, -1}, {"setresuid", -1, 0, -1}}))
        << Describe(IdCalls());
    IdCalls().clear();
  }
  // Current user is root, so no first call: group first, then user.
  EXPECT_EQ(IdCalls(), (std::vector<IdCall>{{"setresgid", -1, kGroup, -1},
                                            {"setresuid", -1, static_cast<long>(kUser), -1}}))
      << Describe(IdCalls());
  EXPECT_EQ(geteuid(), kUser);
  EXPECT_EQ(getegid(), kGroup);
  // Real and saved ids never moved.
  uid_t ruid, euid, suid;
  getresuid(&ruid, &euid, &suid);
  EXPECT_EQ(ruid, 0u);
  EXPECT_EQ(suid, 0u);
  EXPECT_TRUE(CapturedLog().empty());
}

TEST_F(RunAsGuardTest, RestoresWhenLeftByException) {
  ASSERT_EQ(::setresgid(-1, kGroup, -1), 0);
  ASSERT_EQ(::setresuid(-1, kUser, -1), 0);
  try {
    RunAsGuard guard(0, 0, "browse_handler", 241);
    ASSERT_TRUE(guard.switched);
    throw std::runtime_error("leave");
  } catch (const std::runtime_error&) {
  }
  EXPECT_EQ(geteuid(), kUser);
  EXPECT_EQ(getegid(), kGroup);
}

TEST_F(RunAsGuardTest, SwitchToAnotherUserAndGroup) {
  {
    RunAsGuard guard(kUser, kGroup, "unit", 7);
    ASSERT_TRUE(guard.switched);
    EXPECT_EQ(geteuid(), kUser);
    EXPECT_EQ(getegid(), kGroup);
    EXPECT_EQ(IdCalls(), (std::vector<IdCall>{{"setresgid", -1, kGroup, -1},
                                              {"setresuid", -1, static_cast<long>(kUser), -1}}))
        << Describe(IdCalls());
    IdCalls().clear();
  }
  // Back from a non-root user: root first, then group, then user.
  EXPECT_EQ(IdCalls(),
            (std::vector<IdCall>{
                {"setresuid", -1, 0, -1}, {"setresgid", -1, 0, -1}, {"setresuid", -1, 0, -1}}))
      << Describe(IdCalls());
  EXPECT_EQ(geteuid(), 0u);
  EXPECT_EQ(getegid(), 0u);
}

TEST_F(RunAsGuardTest, SwitchFailsWithoutRootSavedId) {
  std::string report = InChild([] {
    // Drop every id: this process can never regain root.
    if (::setresgid(kGroup, kGroup, kGroup) != 0 || ::setresuid(kUser, kUser, kUser) != 0) {
      return std::string("could not drop ids");
    }
    IdCalls().clear();
    Sonvik::testing::ClearCapturedLog();
    std::string text;
    {
      RunAsGuard guard(0, 0, "browse_handler", 241);
      text += guard.switched ? "switched\n" : "not switched\n";
      text += Describe(IdCalls()) + "\n";
      IdCalls().clear();
    }
    text += "close:" + Describe(IdCalls()) + "\n";
    text += "ids:" + std::to_string(geteuid()) + "," + std::to_string(getegid()) + "\n";
    return text + DescribeLog();
  });
  EXPECT_EQ(report,
            "not switched\n"
            "setresuid(-1,0,-1);\n"
            "close:\n"
            "ids:1024,100\n"
            "35 browse_handler:241 ERROR: IF_RUN_AS(0, 0)\n");
}

TEST_F(RunAsGuardTest, FailedRestoreIsLoggedCritical) {
  std::string report = InChild([] {
    // Root only as the effective id; real and saved ids are a user's. Switching the effective id
    // away from root then loses root for good, so the restore must fail.
    if (::setresuid(kUser, 0, kUser) != 0) return std::string("could not set ids");
    Sonvik::testing::ClearCapturedLog();
    std::string text;
    {
      RunAsGuard guard(2000, 2000, "browse_handler", 295);
      text += guard.switched ? "switched\n" : "not switched\n";
    }
    text += "ids:" + std::to_string(geteuid()) + "," + std::to_string(getegid()) + "\n";
    return text + DescribeLog();
  });
  EXPECT_EQ(report,
            "switched\n"
            "ids:2000,2000\n"
            "34 browse_handler:295 ERROR: ~IF_RUN_AS(0, 0)\n");
}

}  // namespace
}  // namespace Sonvik
