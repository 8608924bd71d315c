// What `sonvik serve` says when it cannot start, and its options.
#include <gtest/gtest.h>
#include <stdio.h>

#include "e2e/support/server_test.h"

namespace Sonvik::e2e {
namespace {

class StartupTest : public ServerTest {};

TEST_F(StartupTest, PortInUseIsNamedWithWhatToDo) {
  CommandResult second =
      RunSonvik({"serve", "--listen", "127.0.0.1:" + std::to_string(server().port())});
  EXPECT_NE(second.exit_code, 0);
  EXPECT_NE(second.err.find("is already in use"), std::string::npos) << second.err;
  EXPECT_NE(second.err.find("--listen"), std::string::npos) << second.err;
  // The running server is untouched.
  EXPECT_TRUE(Client()->Call("QUOR.API.Info", "query").Success());
}

TEST_F(StartupTest, MissingInitialisationPointsToInit) {
  const char* info = "/var/packages/Sonvik/INFO";
  const std::string aside = std::string(info) + ".aside";
  ASSERT_EQ(rename(info, aside.c_str()), 0);
  CommandResult result =
      RunSonvik({"serve", "--listen", "127.0.0.1:" + std::to_string(SonvikServer::FreePort())});
  ASSERT_EQ(rename(aside.c_str(), info), 0);
  EXPECT_NE(result.exit_code, 0);
  EXPECT_NE(result.err.find("sonvik init"), std::string::npos) << result.err;
}

TEST_F(StartupTest, BadOptionsAreRefusedAndHelpListsTheOptions) {
  for (const std::vector<std::string>& args :
       {std::vector<std::string>{"serve", "--workers", "0:4"},
        std::vector<std::string>{"serve", "--workers", "8:2"},
        std::vector<std::string>{"serve", "--listen", "localhost"},
        std::vector<std::string>{"serve", "--listen", "127.0.0.1:99999"}}) {
    CommandResult result = RunSonvik(args);
    EXPECT_NE(result.exit_code, 0) << args.back();
    EXPECT_FALSE(result.err.empty()) << args.back();
  }
  CommandResult help = RunSonvik({"serve", "--help"});
  EXPECT_EQ(help.exit_code, 0);
  EXPECT_NE(help.out.find("--listen"), std::string::npos);
  EXPECT_NE(help.out.find("--workers"), std::string::npos);
}

}  // namespace
}  // namespace Sonvik::e2e
