#pragma once
// The master: one epoll event loop that accepts connections, reads each request head and body
// under deadlines (so no worker ever waits on a slow or idle client), and hands complete
// requests with their sockets to the pre-forked workers through one shared queue, which the
// next idle worker takes from. It keeps the pool between its minimum and maximum (growing it
// when requests wait), replaces workers that die, and drains and stops on SIGTERM or SIGINT.
#include <sys/types.h>

#include <chrono>
#include <climits>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "host/server/request_reader.h"
#include "host/server/worker_channel.h"
#include "host/server/worker_slots.h"
#include "package/util/unique_fd.h"

namespace QUOR::server {

struct PoolSize {
  int min_workers = 2;
  int max_workers = 16;
};

// Runs in a freshly forked worker; returns the exit status.
using WorkerMain = std::function<int(WorkerLink link)>;

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
    Clock::time_point queued_at{};  // when its request became complete
    bool watched = false;           // in the epoll set
  };
  // A request in the shared queue or in a worker, under a ticket of its own: a worker's slot and
  // reply name the ticket, so a late word about an earlier request never touches a later one.
  struct Handed {
    uint64_t connection_id = 0;
    Clock::time_point queued_at{};
  };
  struct Worker {
    pid_t pid = -1;
    Sonvik::util::UniqueFd channel;
    size_t slot = 0;
    bool retiring = false;  // took a retire message
  };

  void OnAccept();
  void OnSignal();
  void OnConnectionEvent(uint64_t id, uint32_t events);
  void OnWorkerEvent(pid_t pid);
  // Reads what the socket holds without waiting; true when the peer closed or reset.
  bool ReadAvailable(Connection& connection);
  void ProcessBuffer(Connection& connection);
  void Dispatch(Connection& connection);
  // Moves waiting requests into the shared queue while it has room.
  void FillQueue();
  void HandleReply(Worker& worker, const std::string& message);
  void ResumeConnection(Connection& connection);
  void Refuse(Connection& connection, int status);
  void CloseConnection(uint64_t id);
  void ReapWorkers();
  void MaintainPool();
  bool SpawnWorker();  // false when fork failed (spawning pauses for a moment)
  // Asks one idle worker, whichever takes the message, to leave; false when the queue is full.
  bool RetireOneWorker();
  // While draining, once no request waits, asks every remaining worker to leave.
  void RetireForDrain();
  // Closes requests (and forgets retirements) lost with a worker that died as it took them.
  void ReclaimLost();
  void StartDrain();
  void ExpireDeadlines();
  void SetDeadline(Connection& connection, Clock::time_point when);
  void ClearDeadline(Connection& connection);
  void Watch(Connection& connection, bool on);
  int ActiveWorkers() const;
  // Tickets the workers are serving now, from their slots.
  std::vector<uint64_t> ServedTickets() const;
  // When the oldest request not yet taken by a worker became complete; nullopt when none waits.
  std::optional<Clock::time_point> OldestWaiting() const;
  int OverdueRequests(Clock::time_point now) const;
  int NextTimeoutMs() const;

  Sonvik::util::UniqueFd listener_;
  PoolSize pool_;
  WorkerMain worker_main_;
  Sonvik::util::UniqueFd epoll_;
  Sonvik::util::UniqueFd signals_;
  std::unordered_map<uint64_t, std::unique_ptr<Connection>> connections_;
  std::map<pid_t, Worker> workers_;
  // Complete requests the shared queue had no room for yet, oldest first.
  std::deque<uint64_t> backlog_;
  Sonvik::util::UniqueFd queue_;          // the master's end of the shared queue
  Sonvik::util::UniqueFd workers_queue_;  // the workers' end, inherited by each
  WorkerSlots slots_;
  std::vector<bool> slot_taken_;
  std::map<uint64_t, Handed> handed_;  // by ticket, so in the order handed
  uint64_t next_ticket_ = 1;
  int retires_pending_ = 0;  // retire messages no worker has taken yet
  // What ReclaimLost saw unclaimed with the queue empty at its last check.
  std::set<uint64_t> suspects_;
  bool retire_suspect_ = false;
  // Shrinking: the fewest idle workers seen since the window began.
  int fewest_idle_ = INT_MAX;
  Clock::time_point idle_window_start_{};
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
