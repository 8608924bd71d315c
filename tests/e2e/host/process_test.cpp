// The process model seen from outside: concurrency across workers, a worker killed mid-request,
// and a drain on SIGTERM that lets the request under way finish.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "e2e/support/server_test.h"

namespace Sonvik::e2e {
namespace {

constexpr const char* kChallenge = "QUOR.Sonvik.VoiceAssistant.Challenge";
// The challenge handler locks this file; holding it keeps a request inside its worker.
constexpr const char* kChallengeLock = "/var/packages/Sonvik/var/alexa.conf.lock";

class ProcessTest : public ServerTest {};

// Holds the challenge lock for its lifetime.
class ChallengeLock {
 public:
  ChallengeLock() {
    fd_ = open(kChallengeLock, O_RDONLY | O_CREAT | O_CLOEXEC, 0666);
    if (fd_ >= 0) flock(fd_, LOCK_EX);
  }
  ~ChallengeLock() { Release(); }
  bool held() const { return fd_ >= 0; }
  void Release() {
    if (fd_ >= 0) close(fd_);
    fd_ = -1;
  }

 private:
  int fd_ = -1;
};

// Waits (bounded) until `count` processes are blocked waiting for the challenge lock: the kernel
// lists each waiter in /proc/locks as "-> FLOCK ... MAJ:MIN:INODE". That is the sign a request is
// inside a worker and stuck there.
bool WaitForLockWaiters(size_t count) {
  struct stat info {};
  if (stat(kChallengeLock, &info) != 0) return false;
  char file_id[64];
  std::snprintf(file_id, sizeof(file_id), " %02x:%02x:%lu ", major(info.st_dev), minor(info.st_dev),
                static_cast<unsigned long>(info.st_ino));
  for (int i = 0; i < 2000; ++i) {
    std::ifstream locks("/proc/locks");
    size_t waiters = 0;
    for (std::string line; std::getline(locks, line);) {
      if (line.find("->") != std::string::npos && line.find(file_id) != std::string::npos) {
        ++waiters;
      }
    }
    if (waiters >= count) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

// Waits (bounded) until the server has at least `count` workers.
bool WaitForWorkerCount(SonvikServer& server, size_t count) {
  for (int i = 0; i < 2000; ++i) {
    if (server.WorkerPids().size() >= count) return true;
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return false;
}

TEST_F(ProcessTest, ChallengeIsHandedOutOnceAmongTwentyConcurrentRequests) {
  CommandResult link = RunSonvikOrFail({"link"});
  std::string challenge = link.out.substr(0, link.out.find_first_of("\r\n"));
  ASSERT_FALSE(challenge.empty());
  std::string sid = Sid();
  std::vector<std::future<HttpResponse>> answers;
  for (int i = 0; i < 20; ++i) {
    answers.push_back(std::async(std::launch::async, [this, sid] {
      HttpClient client(server().base_url());  // a connection of its own
      return client.Call(kChallenge, "get", {{"_sid", sid}});
    }));
  }
  int with_string = 0;
  for (auto& answer : answers) {
    HttpResponse response = answer.get();
    ASSERT_TRUE(response.Success()) << response.body;
    std::string value = response.Json()["data"]["challengeString"].asString();
    if (!value.empty()) {
      EXPECT_EQ(value, challenge);
      ++with_string;
    }
  }
  EXPECT_EQ(with_string, 1);
}

TEST_F(ProcessTest, KilledWorkerLosesItsConnectionAndIsReplaced) {
  std::string sid = Sid();
  ChallengeLock lock;
  ASSERT_TRUE(lock.held());
  auto stuck = std::async(std::launch::async, [this, sid] {
    HttpClient client(server().base_url());
    return client.Call(kChallenge, "get", {{"_sid", sid}});
  });
  ASSERT_TRUE(WaitForLockWaiters(1));
  // Kill every worker: the one holding the stuck request is among them.
  std::vector<pid_t> before = server().WorkerPids();
  ASSERT_FALSE(before.empty());
  for (pid_t pid : before) kill(pid, SIGKILL);
  HttpResponse lost = stuck.get();
  EXPECT_EQ(lost.status, 0) << "the killed request got an answer: " << lost.body;
  // Once the master has reaped every killed worker, only fresh ones are left to serve.
  for (int i = 0; i < 2000 && syslog().Matching("was killed by signal 9").size() < before.size();
       ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  ASSERT_EQ(syslog().Matching("was killed by signal 9").size(), before.size());
  lock.Release();
  HttpResponse next = Client()->Call(kChallenge, "get", {{"_sid", sid}});
  EXPECT_TRUE(next.Success()) << next.status << " " << next.body;
  ASSERT_TRUE(WaitForWorkerCount(server(), 2));
  for (pid_t pid : server().WorkerPids()) {
    EXPECT_EQ(std::count(before.begin(), before.end(), pid), 0) << "worker " << pid << " survived";
  }
  EXPECT_TRUE(syslog().WaitFor("died during a request"));
}

TEST_F(ProcessTest, SlowRequestDoesNotStarveOthers) {
  std::string sid = Sid();
  ChallengeLock lock;
  std::vector<std::future<HttpResponse>> stuck;
  // More stuck requests than the minimum pool: the pool must grow to serve the next one.
  for (int i = 0; i < 3; ++i) {
    stuck.push_back(std::async(std::launch::async, [this, sid] {
      HttpClient client(server().base_url());
      return client.Call(kChallenge, "get", {{"_sid", sid}});
    }));
  }
  ASSERT_TRUE(WaitForLockWaiters(3));
  HttpResponse info = LoggedInClient()->Call("QUOR.Sonvik.VoiceAssistant.Info", "get");
  EXPECT_TRUE(info.Success()) << info.body;
  EXPECT_GE(server().WorkerPids().size(), 4u);
  lock.Release();
  for (auto& answer : stuck) EXPECT_TRUE(answer.get().Success());
}

TEST_F(ProcessTest, SigtermLetsTheRequestUnderWayFinish) {
  std::string sid = Sid();
  ChallengeLock lock;
  auto under_way = std::async(std::launch::async, [this, sid] {
    HttpClient client(server().base_url());
    return client.Call(kChallenge, "get", {{"_sid", sid}});
  });
  ASSERT_TRUE(WaitForLockWaiters(1));
  kill(server().pid(), SIGTERM);
  ASSERT_TRUE(syslog().WaitFor("draining"));
  // New connections are refused once draining.
  EXPECT_EQ(Client()->Call("QUOR.API.Info", "query").status, 0);
  lock.Release();
  HttpResponse finished = under_way.get();
  EXPECT_TRUE(finished.Success()) << finished.body;
  EXPECT_EQ(server().Stop(), 0);
  EXPECT_TRUE(syslog().WaitFor("server stopped"));
}

}  // namespace
}  // namespace Sonvik::e2e
