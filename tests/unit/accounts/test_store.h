#pragma once
// A fresh account store in its own folder below /var/packages (a tmpfs inside the test
// namespace), with a clock the test moves by hand.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "host/accounts/account_store.h"

namespace Sonvik::testing {

class AccountStoreTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* in_namespace = std::getenv("SONVIK_IN_TEST_NAMESPACE");
    ASSERT_TRUE(in_namespace && std::string(in_namespace) == "1")
        << "run through tests/run_in_namespace.sh";
    std::filesystem::create_directories("/var/packages");
    char pattern[] = "/var/packages/accounts-test.XXXXXX";
    ASSERT_NE(::mkdtemp(pattern), nullptr);
    dir_ = pattern;
    db_path_ = dir_ + "/accounts.db";
    std::filesystem::create_directory(dir_ + "/users");
    Open();
  }

  void TearDown() override {
    store_.reset();
    std::filesystem::remove_all(dir_);
  }

  void Open() {
    store_.reset();
    QUOR::accounts::AccountStoreOptions options;
    options.users_dir = dir_ + "/users";
    options.clock = [this] { return now_; };
    store_ = std::make_unique<QUOR::accounts::AccountStore>(db_path_, options);
  }

  QUOR::accounts::AccountStore& store() { return *store_; }

  int64_t now_ = 1'700'000'000;
  std::string dir_;
  std::string db_path_;
  std::unique_ptr<QUOR::accounts::AccountStore> store_;
};

}  // namespace Sonvik::testing
