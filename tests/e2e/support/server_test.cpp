#include "e2e/support/server_test.h"

#include "e2e/support/test_machine.h"

namespace Sonvik::e2e {

SyslogSink& ServerTest::syslog() {
  // One socket at /dev/log for the whole program; made after the /dev overlay.
  PrepareTestMachine();
  static SyslogSink* sink = new SyslogSink();
  return *sink;
}

void ServerTest::SetUp() {
  PrepareTestMachine();
  RunSonvikOrFail({"init"});
  // The user may exist from an earlier test of this program (same namespace).
  CommandResult list = RunSonvik({"user", "list"});
  if (list.out.find(kUser) == std::string::npos) {
    RunSonvikOrFail({"user", "add", kUser, "--password-stdin"}, std::string(kPassword) + "\n");
  }
  if (HasFailure()) return;
  PreparePackage();
  if (HasFailure()) return;
  // From here on the captured log holds what the server wrote.
  syslog().Clear();
  ASSERT_TRUE(server_.Start(Workers())) << server_.startup_error();
}

void ServerTest::TearDown() {
  if (server_.running()) {
    EXPECT_EQ(server_.Stop(), 0) << "server did not stop cleanly:\n" << server_.StderrText();
  }
}

CommandResult ServerTest::RunSonvikOrFail(const std::vector<std::string>& args,
                                          const std::string& input) {
  CommandResult result = RunSonvik(args, input);
  std::string command = "sonvik";
  for (const std::string& arg : args) command += " " + arg;
  EXPECT_EQ(result.exit_code, 0) << command << " failed:\n" << result.err << result.out;
  return result;
}

std::unique_ptr<HttpClient> ServerTest::Client() const {
  return std::make_unique<HttpClient>(server_.base_url());
}

std::unique_ptr<HttpClient> ServerTest::LoggedInClient(std::string* sid) {
  auto client = Client();
  const std::string& session = Sid();
  if (sid != nullptr) *sid = session;
  client->SetDefaultParams({{"_sid", session}});
  return client;
}

const std::string& ServerTest::Sid() {
  if (sid_.empty()) {
    sid_ = Client()->Login(kUser, kPassword);
    EXPECT_FALSE(sid_.empty()) << "login of " << kUser << " failed";
  }
  return sid_;
}

}  // namespace Sonvik::e2e
