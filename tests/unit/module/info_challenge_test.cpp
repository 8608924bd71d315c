// Info and Challenge against real package files in the test namespace's /var/packages.
#include <gtest/gtest.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <syslog.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>

#include "host/api/api_request.h"
#include "host/api/api_response.h"
#include "package/config/alexa_config.h"
#include "package/paths.h"
#include "support/syslog_capture.h"
#include "voice_module/module/handlers.h"

namespace Sonvik {
namespace {

namespace fs = std::filesystem;
using Sonvik::testing::CapturedLog;

class PackageFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    fs::remove_all(paths::kPackageRoot);
    fs::create_directories(paths::kEtcDir);
    fs::create_directories(paths::kStateDir);
    Sonvik::testing::ClearCapturedLog();
  }
  static void Write(const std::string& path, const std::string& content) {
    std::ofstream(path) << content;
  }
  static QUOR::APIResponse Call(void (*handler)(QUOR::APIRequest*, QUOR::APIResponse*)) {
    QUOR::APIRequest request;
    QUOR::APIResponse response;
    handler(&request, &response);
    return response;
  }
};

TEST_F(PackageFiles, InfoAnswersBuildAndCapabilities) {
  Write(paths::kInfoFile, "package=\"Sonvik\"\nversion=\"1.2.3-4567\"\n");
  Write(paths::kAudioConf, "support_transcode_mp3=\"yes\"\n");
  auto response = Call(GetBasicInformation);
  ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
  EXPECT_EQ(response.data()["version"].asInt(), 4567);
  ASSERT_EQ(response.data()["transcode_capability"].size(), 2u);
  EXPECT_EQ(response.data()["transcode_capability"][0].asString(), "wav");
  EXPECT_EQ(response.data()["transcode_capability"][1].asString(), "mp3");
  EXPECT_EQ(response.data().size(), 2u);

  Write(paths::kAudioConf, "support_transcode_mp3=no\n");
  response = Call(GetBasicInformation);
  ASSERT_EQ(response.data()["transcode_capability"].size(), 1u);
  EXPECT_TRUE(CapturedLog().empty());
}

// Info reads INFO and audio.conf on every request, from memory once the files have settled: a
// later change, however made, must still show at once.
TEST_F(PackageFiles, InfoSeesAChangeToASettledFileAtOnce) {
  Write(paths::kInfoFile, "version=\"1.2.3-1111\"\n");
  Write(paths::kAudioConf, "support_transcode_mp3=\"yes\"\n");
  // Older than any file system's timestamp granularity, so that the reads below are kept.
  sleep(3);
  auto build = [] { return Call(GetBasicInformation).data()["version"].asInt(); };
  ASSERT_EQ(build(), 1111);
  ASSERT_EQ(build(), 1111);
  {  // rewritten in place, same size
    std::fstream file(paths::kInfoFile, std::ios::in | std::ios::out);
    file << "version=\"1.2.3-2222\"\n";
  }
  EXPECT_EQ(build(), 2222);
  Write(std::string(paths::kInfoFile) + ".new", "version=\"1.2.3-3333\"\n");
  fs::rename(std::string(paths::kInfoFile) + ".new", paths::kInfoFile);
  EXPECT_EQ(build(), 3333);
  Write(paths::kAudioConf, "support_transcode_mp3=\"no\"\n");
  EXPECT_EQ(Call(GetBasicInformation).data()["transcode_capability"].size(), 1u);
}

TEST_F(PackageFiles, InfoBuildNumberParsing) {
  struct Case {
    const char* version;
    int build;  // -1: error 100
    const char* log;
  };
  const Case cases[] = {
      {"1-2-30", 30, nullptr},
      {"1-12abc", 12, nullptr},
      {"7-0", -1, nullptr},
      {"7-abc", -1, nullptr},
      {"7-", -1, nullptr},
      {"7--3", 3, nullptr},
      {"4567", -1, "info_handler:21 Failed to parse version [4567]"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.version);
    Sonvik::testing::ClearCapturedLog();
    Write(paths::kInfoFile, std::string("version=") + c.version + "\n");
    auto response = Call(GetBasicInformation);
    if (c.build > 0) {
      ASSERT_EQ(response.state(), QUOR::APIResponse::State::kSuccess);
      EXPECT_EQ(response.data()["version"].asInt(), c.build);
    } else {
      ASSERT_EQ(response.state(), QUOR::APIResponse::State::kError);
      EXPECT_EQ(response.error_code(), 100);
      EXPECT_TRUE(response.data().isNull());
    }
    if (c.log == nullptr) {
      EXPECT_TRUE(CapturedLog().empty());
    } else {
      ASSERT_EQ(CapturedLog().size(), 1u);
      EXPECT_EQ(CapturedLog()[0].text, c.log);
      EXPECT_EQ(CapturedLog()[0].priority, LOG_ERR);
    }
  }
}

TEST_F(PackageFiles, InfoWithoutVersionKeyLogsAndFails) {
  Write(paths::kInfoFile, "package=Sonvik\n");
  auto response = Call(GetBasicInformation);
  EXPECT_EQ(response.error_code(), 100);
  ASSERT_EQ(CapturedLog().size(), 1u);
  EXPECT_EQ(CapturedLog()[0].text,
            "info_handler:14 Failed to get key version in [/var/packages/Sonvik/INFO]");
}

TEST_F(PackageFiles, ChallengeIsHandedOutOnce) {
  ASSERT_EQ(AmazonAlexa::AlexaConfig().SetChallengeString("c0ffee"), 0);
  auto first = Call(GetChallengeString);
  ASSERT_EQ(first.state(), QUOR::APIResponse::State::kSuccess);
  EXPECT_EQ(first.data()["challengeString"].asString(), "c0ffee");
  auto second = Call(GetChallengeString);
  EXPECT_EQ(second.data()["challengeString"].asString(), "");
  EXPECT_EQ(second.data().size(), 1u);
  EXPECT_TRUE(CapturedLog().empty());
}

TEST_F(PackageFiles, FailedClearStillAnswersAndLogs) {
  ASSERT_EQ(AmazonAlexa::AlexaConfig().SetChallengeString("abc123"), 0);
  // A read-only state folder makes the clear fail for real, even for root.
  ASSERT_EQ(::mount(paths::kStateDir, paths::kStateDir, nullptr, MS_BIND, nullptr), 0);
  ASSERT_EQ(::mount(nullptr, paths::kStateDir, nullptr, MS_BIND | MS_REMOUNT | MS_RDONLY, nullptr),
            0);
  auto first = Call(GetChallengeString);
  auto second = Call(GetChallengeString);
  ASSERT_EQ(::umount(paths::kStateDir), 0);
  EXPECT_EQ(first.data()["challengeString"].asString(), "abc123");
  EXPECT_EQ(second.data()["challengeString"].asString(), "abc123");
  ASSERT_EQ(CapturedLog().size(), 2u);
  EXPECT_EQ(CapturedLog()[0].text, "challenge_handler:15 Failed to clear challenge string");
}

}  // namespace
}  // namespace Sonvik
