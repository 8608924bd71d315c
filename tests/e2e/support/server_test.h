#pragma once
// The GTest fixture of the end-to-end tests: a prepared package (`sonvik init`, one user), the
// real server on a loopback port, a syslog capture, and a logged-in client at hand.
//
//   class SearchTest : public Sonvik::e2e::ServerTest {
//    protected:
//     void PreparePackage() override { RunSonvikOrFail({"library", "add", folder}); ... }
//   };
//   TEST_F(SearchTest, FindsByTitle) {
//     auto client = LoggedInClient();
//     auto response = client->Call("QUOR.Sonvik.VoiceAssistant.Browse", "search", {...});
//     EXPECT_TRUE(response.Success());
//   }
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "e2e/support/command.h"
#include "e2e/support/http_client.h"
#include "e2e/support/raw_connection.h"
#include "e2e/support/sonvik_server.h"
#include "e2e/support/syslog_sink.h"

namespace Sonvik::e2e {

class ServerTest : public ::testing::Test {
 protected:
  static constexpr const char* kUser = "alice";
  static constexpr const char* kPassword = "correct horse battery";

  // Runs `sonvik init`, adds kUser, calls PreparePackage(), then clears the captured log and
  // starts the server.
  void SetUp() override;
  // Stops the server and checks it stopped cleanly (exit status 0 after SIGTERM).
  void TearDown() override;

  // Hook for derived fixtures: library folders, scans, more users... before the server starts.
  virtual void PreparePackage() {}
  // The pool size the server starts with.
  virtual std::string Workers() const { return "2:8"; }

  // Runs a `sonvik` command and fails the test (non-fatally) when it does not exit 0.
  CommandResult RunSonvikOrFail(const std::vector<std::string>& args,
                                const std::string& input = "");

  // A new client (a connection of its own) to the server.
  std::unique_ptr<HttpClient> Client() const;
  // A new client whose calls carry a session of kUser (`_sid`); the sid is in `*sid` when given.
  std::unique_ptr<HttpClient> LoggedInClient(std::string* sid = nullptr);
  // A session id for kUser (logs in once per test and reuses it).
  const std::string& Sid();

  SonvikServer& server() { return server_; }
  static SyslogSink& syslog();

 private:
  SonvikServer server_;
  std::string sid_;
};

}  // namespace Sonvik::e2e
