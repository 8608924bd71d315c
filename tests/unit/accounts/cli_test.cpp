// The administrative commands driven as real processes against the namespace's /var/packages.
#include <pwd.h>
#include <sys/stat.h>

extern "C" {
#include <libavcodec/avcodec.h>
}

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <regex>

#include "host/accounts/account_store.h"
#include "package/config/alexa_config.h"
#include "package/paths.h"
#include "package/util/key_value_file.h"
#include "unit/accounts/run_sonvik.h"

namespace Sonvik::testing {
namespace {

using QUOR::accounts::AccountStore;
using QUOR::accounts::LoginResult;
using ::testing::HasSubstr;

constexpr uid_t kNobody = 65534;

class CliTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* in_namespace = std::getenv("SONVIK_IN_TEST_NAMESPACE");
    ASSERT_TRUE(in_namespace && std::string(in_namespace) == "1")
        << "run through tests/run_in_namespace.sh";
    std::filesystem::remove_all(paths::kPackageRoot);
    // /etc is an overlay that vanishes with the namespace; start without the account.
    if (::getpwnam(paths::kServiceAccount)) {
      ASSERT_EQ(std::system("userdel Sonvik"), 0);
    }
  }

  void Init() {
    auto result = RunSonvik({"init"});
    ASSERT_EQ(result.exit_status, 0) << result.err;
  }

  void AddUser(const std::string& name, const std::string& password) {
    auto result = RunSonvik({"user", "add", name, "--password-stdin"}, password + "\n");
    ASSERT_EQ(result.exit_status, 0) << result.err;
  }

  static uid_t OwnerOf(const std::string& path) {
    struct stat info {};
    EXPECT_EQ(::lstat(path.c_str(), &info), 0) << path;
    return info.st_uid;
  }

  static const passwd& Service() {
    const passwd* entry = ::getpwnam(paths::kServiceAccount);
    if (entry == nullptr) throw std::runtime_error("no service account");
    return *entry;
  }
};

TEST_F(CliTest, InitSetsUpEverythingAndIsSafeToRepeat) {
  ASSERT_EQ(::getpwnam(paths::kServiceAccount), nullptr);
  Init();
  const passwd* service = ::getpwnam(paths::kServiceAccount);
  ASSERT_NE(service, nullptr);
  const uid_t service_uid = service->pw_uid;
  EXPECT_EQ(std::string(service->pw_shell), "/usr/sbin/nologin");
  EXPECT_EQ(std::string(service->pw_dir), paths::kStateDir);

  auto info = util::ReadKeyValueFile(paths::kInfoFile);
  ASSERT_TRUE(info);
  EXPECT_EQ((*info)["package"], "Sonvik");
  EXPECT_TRUE(std::regex_match((*info)["version"], std::regex(R"(\d+\.\d+\.\d+-[1-9]\d*)")))
      << (*info)["version"];
  auto audio = util::ReadKeyValueFile(paths::kAudioConf);
  ASSERT_TRUE(audio);
  EXPECT_EQ((*audio)["support_transcode_mp3"],
            avcodec_find_encoder(AV_CODEC_ID_MP3) ? "yes" : "no");
  for (const char* path : {paths::kStateDir, paths::kUsersDir, paths::kCoverCache,
                           paths::kAccountsDb, paths::kLibraryDb}) {
    EXPECT_EQ(OwnerOf(path), service_uid) << path;
  }

  AddUser("alice", "pw");
  // Someone's own setting in audio.conf survives a second init.
  {
    auto values = *audio;
    values["custom"] = "kept";
    ASSERT_TRUE(util::WriteKeyValueFileAtomically(paths::kAudioConf, values));
  }
  Init();
  EXPECT_EQ(::getpwnam(paths::kServiceAccount)->pw_uid, service_uid);
  EXPECT_EQ((*util::ReadKeyValueFile(paths::kAudioConf))["custom"], "kept");
  EXPECT_EQ(*util::ReadKeyValueFile(paths::kInfoFile), *info);
  AccountStore store(paths::kAccountsDb);
  EXPECT_TRUE(store.FindUser("alice"));
}

TEST_F(CliTest, CommandsExplainWhatToDoWhenNotSetUpOrNotRoot) {
  auto before_init = RunSonvik({"user", "list"});
  EXPECT_NE(before_init.exit_status, 0);
  EXPECT_THAT(before_init.err, HasSubstr("sonvik init"));
  auto link_before_init = RunSonvik({"link"});
  EXPECT_NE(link_before_init.exit_status, 0);
  EXPECT_THAT(link_before_init.err, HasSubstr("sonvik init"));

  auto init_as_nobody = RunSonvik({"init"}, "", kNobody);
  EXPECT_NE(init_as_nobody.exit_status, 0);
  EXPECT_THAT(init_as_nobody.err, HasSubstr("root"));
  EXPECT_FALSE(std::filesystem::exists(paths::kPackageRoot));

  Init();
  auto add_as_nobody = RunSonvik({"user", "add", "bob", "--password-stdin"}, "pw\n", kNobody);
  EXPECT_NE(add_as_nobody.exit_status, 0);
  EXPECT_THAT(add_as_nobody.err, HasSubstr("root"));
  EXPECT_FALSE(AccountStore(paths::kAccountsDb).FindUser("bob"));
}

TEST_F(CliTest, UserAddTakesThePasswordFromStdinAndTheServiceAccountCanUseIt) {
  Init();
  AddUser("alice", "s3cret with spaces");
  {
    AccountStore store(paths::kAccountsDb);
    EXPECT_EQ(store.Login("alice", "s3cret with spaces", "", nullptr), LoginResult::kOk);
    EXPECT_EQ(store.Login("alice", "s3cret", "", nullptr), LoginResult::kWrongCredentials);
  }
  EXPECT_EQ(OwnerOf(std::string(paths::kUsersDir) + "/alice"), Service().pw_uid);
  EXPECT_EQ(OwnerOf(paths::kAccountsDb), Service().pw_uid);
  // The server runs as the service account: it must be able to log in and write sessions in
  // the files that root's commands touched.
  EXPECT_TRUE(RunAs(Service().pw_uid, Service().pw_gid, [] {
    AccountStore store(paths::kAccountsDb);
    QUOR::accounts::User user;
    return store.Login("alice", "s3cret with spaces", "127.0.0.1", &user) == LoginResult::kOk &&
           store.ResolveSession(store.CreateSession(user.uid)).has_value();
  }));

  auto list = RunSonvik({"user", "list"});
  EXPECT_EQ(list.exit_status, 0);
  EXPECT_THAT(list.out, HasSubstr("alice"));
  EXPECT_THAT(list.out, HasSubstr("1024"));

  auto duplicate = RunSonvik({"user", "add", "alice", "--password-stdin"}, "other\n");
  EXPECT_NE(duplicate.exit_status, 0);
  EXPECT_THAT(duplicate.err, HasSubstr("already exists"));
  auto no_password = RunSonvik({"user", "add", "bob", "--password-stdin"}, "");
  EXPECT_NE(no_password.exit_status, 0);
  auto no_terminal = RunSonvik({"user", "add", "bob"});
  EXPECT_NE(no_terminal.exit_status, 0);
  EXPECT_THAT(no_terminal.err, HasSubstr("--password-stdin"));

  auto passwd = RunSonvik({"user", "passwd", "alice", "--password-stdin"}, "changed\n");
  EXPECT_EQ(passwd.exit_status, 0) << passwd.err;
  EXPECT_EQ(AccountStore(paths::kAccountsDb).Login("alice", "changed", "", nullptr),
            LoginResult::kOk);

  auto del = RunSonvik({"user", "del", "alice"});
  EXPECT_EQ(del.exit_status, 0) << del.err;
  auto del_again = RunSonvik({"user", "del", "alice"});
  EXPECT_NE(del_again.exit_status, 0);
  EXPECT_THAT(del_again.err, HasSubstr("no such user 'alice'; see 'sonvik user list'"));
  EXPECT_FALSE(std::filesystem::exists(std::string(paths::kUsersDir) + "/alice"));
}

TEST_F(CliTest, UserAddWithAnUnusablePersonalLibraryAddsNobody) {
  Init();
  auto result = RunSonvik(
      {"user", "add", "alice", "--password-stdin", "--personal-library", "/no/such/folder"},
      "pw\n");
  EXPECT_NE(result.exit_status, 0);
  EXPECT_THAT(result.err, HasSubstr("not added"));
  AccountStore store(paths::kAccountsDb);
  EXPECT_FALSE(store.FindUser("alice"));
  EXPECT_FALSE(std::filesystem::exists(std::string(paths::kUsersDir) + "/alice"));
}

TEST_F(CliTest, TokenCreatePrintsOnlyTheTokenWhichThenLogsIn) {
  Init();
  AddUser("alice", "pw");
  auto created = RunSonvik({"token", "create", "--user", "alice"});
  ASSERT_EQ(created.exit_status, 0) << created.err;
  ASSERT_TRUE(std::regex_match(created.out, std::regex("[0-9a-f]{64}\n"))) << created.out;
  std::string token = created.out.substr(0, 64);
  auto user = AccountStore(paths::kAccountsDb).ResolveToken(token);
  ASSERT_TRUE(user);
  EXPECT_EQ(user->name, "alice");

  auto list = RunSonvik({"token", "list"});
  EXPECT_THAT(list.out, HasSubstr("alice"));
  EXPECT_EQ(list.out.find(token), std::string::npos);

  auto unknown = RunSonvik({"token", "create", "--user", "bob"});
  EXPECT_NE(unknown.exit_status, 0);
  EXPECT_THAT(unknown.err, HasSubstr("sonvik user list"));

  EXPECT_EQ(RunSonvik({"token", "revoke", "1"}).exit_status, 0);
  EXPECT_FALSE(AccountStore(paths::kAccountsDb).ResolveToken(token));
  EXPECT_NE(RunSonvik({"token", "revoke", "1"}).exit_status, 0);
}

TEST_F(CliTest, LinkPrintsAChallengeThatTheServerHandsOutOnce) {
  Init();
  auto first = RunSonvik({"link"});
  ASSERT_EQ(first.exit_status, 0) << first.err;
  ASSERT_TRUE(std::regex_match(first.out, std::regex("[0-9a-f]{32}\n"))) << first.out;
  auto second = RunSonvik({"link"});
  ASSERT_EQ(second.exit_status, 0) << second.err;
  EXPECT_NE(second.out, first.out);
  std::string challenge = second.out.substr(0, 32);
  EXPECT_EQ(AmazonAlexa::AlexaConfig().challenge_string(), challenge);

  // The server, as the service account, reads and clears it.
  EXPECT_TRUE(RunAs(Service().pw_uid, Service().pw_gid, [] {
    AmazonAlexa::AlexaConfig config;
    return !config.challenge_string().empty() && config.ClearChallengeString() == 0;
  }));
  EXPECT_EQ(AmazonAlexa::AlexaConfig().challenge_string(), "");
}

}  // namespace
}  // namespace Sonvik::testing
