#pragma once
// Runs the media handlers as the host would: the service account exists, the process starts each
// test as root, and every answer is captured from stdout.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

#include <string>

#include "host/api/api_request.h"
#include "host/api/api_response.h"
#include "media_test_support.h"
#include "package/credentials/credentials.h"
#include "support/syslog_capture.h"
#include "track_lookup_double.h"

namespace Sonvik::testing {

struct HandlerAnswer {
  std::string output;
  QUOR::APIResponse response;
  uid_t euid_after;
};

class MediaHandlerTest : public ::testing::Test {
 protected:
  static void SetUpTestSuite() {
    // The namespace's /etc is an overlay, so the account vanishes with the test.
    if (::getpwnam("Sonvik") == nullptr) {
      ASSERT_TRUE(
          RunCommand("useradd --system --badname --no-create-home --shell /usr/sbin/nologin "
                     "Sonvik"));
    }
  }
  void SetUp() override {
    ASSERT_EQ(::getuid(), 0u) << "the media handler tests need root";
    service_uid_ = ::getpwnam("Sonvik")->pw_uid;
    FakeTracks().clear();
    ClearCapturedLog();
  }
  void TearDown() override { ResetCredentialsByName("root", true); }

  HandlerAnswer Call(void (*handler)(QUOR::APIRequest*, QUOR::APIResponse*), int track_id,
                     std::initializer_list<std::pair<const char*, std::string>> cgi = {}) {
    CgiEnvironment environment(cgi);
    QUOR::APIRequest request({{"track_id", std::to_string(track_id)}}, {1024, "alice", ""});
    HandlerAnswer answer;
    {
      StdoutCapture capture;
      handler(&request, &answer.response);
      answer.output = capture.Finish();
    }
    answer.euid_after = ::geteuid();
    ResetCredentialsByName("root", true);
    return answer;
  }

  static std::vector<std::string> LogTexts() {
    std::vector<std::string> texts;
    for (const auto& line : CapturedLog()) {
      EXPECT_EQ(line.priority, 3) << line.text;
      texts.push_back(line.text);
    }
    return texts;
  }

  static constexpr const char* k404 = "Cache-control: no-store\r\nStatus: 404 Not Found\r\n\r\n";
  uid_t service_uid_ = 0;
};

}  // namespace Sonvik::testing
