#pragma once
// The master: one epoll event loop that accepts connections, reads each request head and body
// under deadlines (so no worker ever waits on a slow or idle client), and hands complete
// requests with their sockets to idle pre-forked workers. It keeps the pool between its minimum
// and maximum, replaces workers that die, and drains and stops on SIGTERM or SIGINT.
#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>

#include "host/server/request_reader.h"
#include "package/util/unique_fd.h"

namespace QUOR::server {

struct PoolSize {
  int min_workers = 2;
  int max_workers = 16;
};

// Runs in a freshly forked worker with its end of the channel; returns the exit status.
using WorkerMain = std::function<int(Sonvik::util::UniqueFd channel)>;

class Master {
 public:
  // `listener` is a bound, listening, non-blocking socket.
  Master(Sonvik::util::UniqueFd listener, PoolSize pool, WorkerMain worker_main);
  ~Master();
  Master(const Master&) = delete;
  Master& operator=(const Master&) = delete;

  // Serves until a stop signal and the drain that follows; returns the exit status.
  int Run();

 private:
  using Clock = std::chrono::steady_clock;
  enum class ConnectionState { kReading, kQueued, kInWorker, kClosing };
  enum class Phase { kIdle, kHead, kBody };
  struct Connection {
    uint64_t id = 0;
    Sonvik::util::UniqueFd fd;
    std::string client_address;
    std::string buffer;  // received and not yet parsed
    RequestReader reader;
    ConnectionState state = ConnectionState::kReading;
    Phase phase = Phase::kHead;
    Clock::time_point deadline{};
    bool has_deadline = false;
    Clock::time_point queued_at{};
    bool watched = false;  // in the epoll set
  };
  enum class WorkerState { kIdle, kBusy, kRetiring };
  struct Worker {
    pid_t pid = -1;
    Sonvik::util::UniqueFd channel;
    WorkerState state = WorkerState::kIdle;
    uint64_t connection_id = 0;
    Clock::time_point idle_since{};
  };

  void OnAccept();
  void OnSignal();
  void OnConnectionEvent(uint64_t id, uint32_t events);
  void OnWorkerEvent(pid_t pid);
  // Reads what the socket holds without waiting; true when the peer closed or reset.
  bool ReadAvailable(Connection& connection);
  void ProcessBuffer(Connection& connection);
  void Dispatch(Connection& connection);
  bool HandTo(Worker& worker, Connection& connection);
  void AssignQueued();
  void ResumeConnection(Connection& connection);
  void Refuse(Connection& connection, int status);
  void CloseConnection(uint64_t id);
  void ReapWorkers();
  void MaintainPool();
  bool SpawnWorker();  // false when fork failed (spawning pauses for a moment)
  void RetireWorker(Worker& worker);
  void StartDrain();
  void ExpireDeadlines();
  void SetDeadline(Connection& connection, Clock::time_point when);
  void ClearDeadline(Connection& connection);
  void Watch(Connection& connection, bool on);
  int ActiveWorkers() const;
  int OverdueRequests(Clock::time_point now) const;
  int NextTimeoutMs() const;

  Sonvik::util::UniqueFd listener_;
  PoolSize pool_;
  WorkerMain worker_main_;
  Sonvik::util::UniqueFd epoll_;
  Sonvik::util::UniqueFd signals_;
  std::unordered_map<uint64_t, std::unique_ptr<Connection>> connections_;
  std::map<pid_t, Worker> workers_;
  std::deque<uint64_t> queue_;
  std::set<std::pair<Clock::time_point, uint64_t>> deadlines_;
  uint64_t next_connection_id_ = 1;
  bool draining_ = false;
  Clock::time_point drain_deadline_{};
  Clock::time_point next_pool_check_{};
  Clock::time_point spawn_blocked_until_{};
  int quick_deaths_ = 0;
  std::map<pid_t, Clock::time_point> started_at_;
};

}  // namespace QUOR::server
