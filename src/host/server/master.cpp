#include "host/server/master.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <linux/sockios.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <signal.h>
#include <sys/epoll.h>
#include <sys/ioctl.h>
#include <sys/signalfd.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include "host/server/cgi_header_parser.h"
#include "host/server/http_limits.h"
#include "host/server/response_head.h"
#include "host/server/worker_channel.h"

namespace QUOR::server {
namespace {

// epoll user data: a kind in the top byte, an id (connection id or worker pid) below.
constexpr uint64_t kKindShift = 56;
constexpr uint64_t kListenerKind = 1;
constexpr uint64_t kSignalKind = 2;
constexpr uint64_t kConnectionKind = 3;
constexpr uint64_t kWorkerKind = 4;
uint64_t Tag(uint64_t kind, uint64_t id) { return (kind << kKindShift) | id; }

constexpr size_t kMaxConnections = 4096;
// Slots in the shared table: the largest pool `serve --workers` allows.
constexpr size_t kMaxWorkers = 256;
constexpr size_t kReadChunk = 16 * 1024;
// What a connection may hold unparsed: a full request and a little of the next.
constexpr size_t kMaxBuffered = limits::kMaxHeadBytes + limits::kMaxBodyBytes + kReadChunk;
// A refused connection lingers this long so the client can read the answer before the close.
constexpr std::chrono::seconds kLingerTime{2};
// Busy workers get this long to finish after a stop signal.
constexpr std::chrono::seconds kDrainTime{10};
// A pool above its minimum that had a worker to spare all this while gives one back.
constexpr std::chrono::seconds kIdleWorkerTime{10};
// Workers that die this soon after starting are failing to start; respawns slow down.
constexpr std::chrono::seconds kQuickDeath{1};
// The pool grows only for requests that have waited this long for a worker: short requests
// free a worker sooner than a new one would start, and a smaller pool stays in the caches. A
// long request (a song streaming to a slow client) holds its worker, and the requests behind it
// soon pass this wait.
constexpr std::chrono::milliseconds kGrowAfterWait{2};

std::string PeerAddress(const sockaddr_storage& address) {
  char text[INET6_ADDRSTRLEN] = "?";
  if (address.ss_family == AF_INET) {
    inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in&>(address).sin_addr, text, sizeof(text));
  } else if (address.ss_family == AF_INET6) {
    inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6&>(address).sin6_addr, text,
              sizeof(text));
  }
  return text;
}

void EpollControl(int epoll, int op, int fd, uint32_t events, uint64_t tag) {
  epoll_event event{};
  event.events = events;
  event.data.u64 = tag;
  if (epoll_ctl(epoll, op, fd, &event) != 0 && op != EPOLL_CTL_DEL) {
    throw std::system_error(errno, std::generic_category(), "epoll_ctl");
  }
}

}  // namespace

Master::Master(Sonvik::util::UniqueFd listener, PoolSize pool, WorkerMain worker_main)
    : listener_(std::move(listener)),
      pool_(pool),
      worker_main_(std::move(worker_main)),
      slots_(kMaxWorkers),
      slot_taken_(kMaxWorkers, false) {
  MakeChannelPair(&queue_, &workers_queue_);
  epoll_.Reset(epoll_create1(EPOLL_CLOEXEC));
  if (!epoll_.valid()) throw std::system_error(errno, std::generic_category(), "epoll_create1");
  sigset_t stop_and_child;
  sigemptyset(&stop_and_child);
  for (int signal_number : {SIGCHLD, SIGTERM, SIGINT, SIGHUP}) {
    sigaddset(&stop_and_child, signal_number);
  }
  sigprocmask(SIG_BLOCK, &stop_and_child, nullptr);
  signals_.Reset(signalfd(-1, &stop_and_child, SFD_NONBLOCK | SFD_CLOEXEC));
  if (!signals_.valid()) throw std::system_error(errno, std::generic_category(), "signalfd");
  ::signal(SIGPIPE, SIG_IGN);
  EpollControl(epoll_.get(), EPOLL_CTL_ADD, listener_.get(), EPOLLIN, Tag(kListenerKind, 0));
  EpollControl(epoll_.get(), EPOLL_CTL_ADD, signals_.get(), EPOLLIN, Tag(kSignalKind, 0));
}

Master::~Master() {
  for (auto& [pid, worker] : workers_) kill(pid, SIGKILL);
  for (auto& [pid, worker] : workers_) waitpid(pid, nullptr, 0);
}

int Master::Run() {
  MaintainPool();
  epoll_event events[64];
  while (!draining_ || !workers_.empty()) {
    int ready = epoll_wait(epoll_.get(), events, 64, NextTimeoutMs());
    if (ready < 0 && errno != EINTR) {
      syslog(LOG_ERR, "epoll_wait: %s", std::strerror(errno));
      return 1;
    }
    for (int i = 0; i < ready; ++i) {
      uint64_t kind = events[i].data.u64 >> kKindShift;
      uint64_t id = events[i].data.u64 & ((uint64_t{1} << kKindShift) - 1);
      if (kind == kListenerKind) {
        OnAccept();
      } else if (kind == kSignalKind) {
        OnSignal();
      } else if (kind == kConnectionKind) {
        OnConnectionEvent(id, events[i].events);
      } else if (kind == kWorkerKind) {
        OnWorkerEvent(static_cast<pid_t>(id));
      }
    }
    ExpireDeadlines();
    MaintainPool();
    if (draining_ && Clock::now() >= drain_deadline_) {
      for (auto& [pid, worker] : workers_) {
        syslog(LOG_WARNING, "worker %d still busy after the drain time; killing it", pid);
        kill(pid, SIGKILL);
      }
      drain_deadline_ = Clock::now() + kDrainTime;
    }
  }
  syslog(LOG_INFO, "server stopped");
  return 0;
}

int Master::NextTimeoutMs() const {
  auto now = Clock::now();
  auto next = now + std::chrono::seconds(1);
  if (!deadlines_.empty() && deadlines_.begin()->first < next) next = deadlines_.begin()->first;
  if (draining_ && drain_deadline_ < next) next = drain_deadline_;
  // Wake when the oldest waiting request becomes overdue, if the pool may still grow for it.
  // Once it is overdue MaintainPool has acted on it; waking again at once would spin.
  if ((!backlog_.empty() || !handed_.empty()) && ActiveWorkers() < pool_.max_workers) {
    if (auto oldest = OldestWaiting()) {
      auto overdue_at = *oldest + kGrowAfterWait;
      if (overdue_at > now && overdue_at < next) next = overdue_at;
    }
  }
  if (next <= now) return 0;
  auto ms = std::chrono::ceil<std::chrono::milliseconds>(next - now).count();
  return static_cast<int>(ms);
}

void Master::OnAccept() {
  for (;;) {
    sockaddr_storage address{};
    socklen_t length = sizeof(address);
    int fd = accept4(listener_.get(), reinterpret_cast<sockaddr*>(&address), &length,
                     SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (fd < 0) {
      if (errno == EINTR || errno == ECONNABORTED) continue;
      if (errno != EAGAIN) syslog(LOG_ERR, "accept: %s", std::strerror(errno));
      return;
    }
    Sonvik::util::UniqueFd socket(fd);
    if (connections_.size() >= kMaxConnections || draining_) continue;  // closed at once
    int one = 1;
    setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof(one));
    auto connection = std::make_unique<Connection>();
    connection->id = next_connection_id_++;
    connection->fd = std::move(socket);
    connection->client_address = PeerAddress(address);
    connection->phase = Phase::kHead;
    Connection& added = *connection;
    connections_.emplace(added.id, std::move(connection));
    Watch(added, true);
    // A new connection must send its head within the head time, as if it had started already.
    SetDeadline(added, Clock::now() + limits::kHeadTimeout);
  }
}

void Master::OnSignal() {
  signalfd_siginfo info{};
  while (read(signals_.get(), &info, sizeof(info)) == sizeof(info)) {
    if (info.ssi_signo == SIGCHLD) {
      ReapWorkers();
    } else if (!draining_) {
      syslog(LOG_INFO, "stop signal %u: draining", info.ssi_signo);
      StartDrain();
    }
  }
}

bool Master::ReadAvailable(Connection& connection) {
  char chunk[kReadChunk];
  for (;;) {
    if (connection.state == ConnectionState::kReading && connection.buffer.size() >= kMaxBuffered) {
      return false;  // parse what is there first
    }
    ssize_t got = recv(connection.fd.get(), chunk, sizeof(chunk), MSG_DONTWAIT);
    if (got > 0) {
      if (connection.state == ConnectionState::kReading) connection.buffer.append(chunk, got);
      if (static_cast<size_t>(got) < sizeof(chunk)) return false;
      continue;
    }
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 && errno == EAGAIN) return false;
    return true;  // end of file or a reset
  }
}

void Master::OnConnectionEvent(uint64_t id, uint32_t events) {
  auto it = connections_.find(id);
  if (it == connections_.end()) return;
  Connection& connection = *it->second;
  if (connection.state == ConnectionState::kQueued ||
      connection.state == ConnectionState::kInWorker) {
    return;
  }
  bool peer_closed = ReadAvailable(connection);
  if (connection.state == ConnectionState::kClosing) {
    if (peer_closed || (events & (EPOLLHUP | EPOLLERR)) != 0) CloseConnection(id);
    return;
  }
  ProcessBuffer(connection);
  if (connections_.count(id) == 0) return;
  if (peer_closed && connection.state == ConnectionState::kReading) CloseConnection(id);
}

void Master::ProcessBuffer(Connection& connection) {
  if (connection.state != ConnectionState::kReading || connection.buffer.empty()) return;
  size_t consumed = 0;
  RequestReader::Status status = connection.reader.Feed(connection.buffer, &consumed);
  connection.buffer.erase(0, consumed);
  if (connection.reader.TakeContinueRequest()) {
    static constexpr char kContinue[] = "HTTP/1.1 100 Continue\r\n\r\n";
    (void)send(connection.fd.get(), kContinue, sizeof(kContinue) - 1, MSG_NOSIGNAL | MSG_DONTWAIT);
  }
  if (status == RequestReader::Status::kError) {
    Refuse(connection, connection.reader.error_status());
    return;
  }
  if (status == RequestReader::Status::kComplete) {
    Dispatch(connection);
    return;
  }
  auto now = Clock::now();
  if (connection.phase == Phase::kIdle && connection.reader.started()) {
    connection.phase = Phase::kHead;
    SetDeadline(connection, now + limits::kHeadTimeout);
  }
  if (connection.phase == Phase::kHead && connection.reader.head_complete()) {
    connection.phase = Phase::kBody;
    SetDeadline(connection, now + limits::kBodyTimeout);
  }
}

void Master::Dispatch(Connection& connection) {
  Watch(connection, false);
  ClearDeadline(connection);
  connection.state = ConnectionState::kQueued;
  connection.queued_at = Clock::now();
  connection.reader.request().client_address = connection.client_address;
  backlog_.push_back(connection.id);
  FillQueue();
  if (!backlog_.empty()) MaintainPool();
}

void Master::FillQueue() {
  while (!backlog_.empty()) {
    uint64_t id = backlog_.front();
    auto it = connections_.find(id);
    if (it == connections_.end()) {
      backlog_.pop_front();
      continue;
    }
    Connection& connection = *it->second;
    uint64_t ticket = next_ticket_;
    std::string message = EncodeRequestMessage(ticket, connection.reader.request());
    if (!SendChannelMessage(queue_.get(), message, connection.fd.get(), true)) {
      if (errno == EAGAIN) return;  // full: the next reply makes room
      syslog(LOG_ERR, "cannot hand a request to the workers: %s", std::strerror(errno));
      backlog_.pop_front();
      CloseConnection(id);
      continue;
    }
    backlog_.pop_front();
    ++next_ticket_;
    handed_.emplace(ticket, Handed{id, connection.queued_at});
    connection.state = ConnectionState::kInWorker;
  }
  RetireForDrain();
}

void Master::OnWorkerEvent(pid_t pid) {
  auto it = workers_.find(pid);
  if (it == workers_.end()) return;
  Worker& worker = it->second;
  std::string message;
  Sonvik::util::UniqueFd ignored;
  // A worker owes at most one reply (it serves one request at a time), so one receive per
  // wake-up is enough; the level-triggered epoll reports anything further.
  ReceiveResult result = ReceiveChannelMessage(worker.channel.get(), &message, &ignored, true);
  if (result == ReceiveResult::kInterrupted) return;  // nothing more now
  if (result != ReceiveResult::kMessage) {
    // The worker is gone or going; SIGCHLD does the rest.
    EpollControl(epoll_.get(), EPOLL_CTL_DEL, worker.channel.get(), 0, 0);
    worker.channel.Reset();
    return;
  }
  HandleReply(worker, message);
}

void Master::HandleReply(Worker& worker, const std::string& message) {
  ReplyMessage reply;
  if (!DecodeReply(message, &reply)) {
    syslog(LOG_ERR, "worker %d sent a malformed reply", worker.pid);
    return;
  }
  if (reply.connection_id == 0) {  // it took a retire message
    worker.retiring = true;
    if (retires_pending_ > 0) --retires_pending_;
    return;
  }
  auto handed = handed_.find(reply.connection_id);
  if (handed == handed_.end()) {
    syslog(LOG_ERR, "worker %d replied for a request it was not given", worker.pid);
    return;
  }
  uint64_t id = handed->second.connection_id;
  handed_.erase(handed);
  auto found = connections_.find(id);
  if (found != connections_.end()) {
    if (reply.keep_alive && !draining_) {
      ResumeConnection(*found->second);
    } else {
      CloseConnection(id);
    }
  }
  FillQueue();
}

void Master::ResumeConnection(Connection& connection) {
  connection.reader.Reset();
  connection.state = ConnectionState::kReading;
  connection.phase = Phase::kIdle;
  SetDeadline(connection, Clock::now() + limits::kIdleTimeout);
  // A busy client has often sent its next request while the worker finished (or pipelined it):
  // read it now and skip a round through epoll. Never waits: the read does not block.
  uint64_t id = connection.id;
  bool peer_closed = ReadAvailable(connection);
  ProcessBuffer(connection);
  if (connections_.count(id) == 0) return;
  if (connection.state == ConnectionState::kClosing) {
    Watch(connection, true);  // to see the client's close while lingering
    return;
  }
  if (connection.state != ConnectionState::kReading) return;
  if (peer_closed) {
    CloseConnection(id);
    return;
  }
  Watch(connection, true);
}

void Master::Refuse(Connection& connection, int status) {
  syslog(LOG_NOTICE, "request from %s refused: %d %s", connection.client_address.c_str(), status,
         ReasonPhrase(status));
  std::string body = std::string(ReasonPhrase(status)) + "\n";
  CgiHeaders headers;
  headers.status = status;
  headers.reason = ReasonPhrase(status);
  headers.fields.emplace_back("Content-Type", "text/plain; charset=utf-8");
  headers.content_length = body.size();
  std::string answer =
      BuildResponseHead(headers, {BodyFraming::kContentLength, false}, time(nullptr)) + body;
  (void)send(connection.fd.get(), answer.data(), answer.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  // Half-close and keep reading for a moment: closing with unread input would reset the
  // connection and could destroy the answer before the client reads it.
  shutdown(connection.fd.get(), SHUT_WR);
  connection.state = ConnectionState::kClosing;
  connection.buffer.clear();
  SetDeadline(connection, Clock::now() + kLingerTime);
}

void Master::CloseConnection(uint64_t id) {
  auto it = connections_.find(id);
  if (it == connections_.end()) return;
  Connection& connection = *it->second;
  ClearDeadline(connection);
  Watch(connection, false);
  connections_.erase(it);
}

void Master::ExpireDeadlines() {
  auto now = Clock::now();
  while (!deadlines_.empty() && deadlines_.begin()->first <= now) {
    uint64_t id = deadlines_.begin()->second;
    deadlines_.erase(deadlines_.begin());
    auto it = connections_.find(id);
    if (it == connections_.end()) continue;
    Connection& connection = *it->second;
    connection.has_deadline = false;
    if (connection.state == ConnectionState::kReading && connection.reader.started()) {
      Refuse(connection, 408);
    } else {
      CloseConnection(id);  // idle keep-alive, or a refused one done lingering
    }
  }
}

void Master::SetDeadline(Connection& connection, Clock::time_point when) {
  ClearDeadline(connection);
  connection.deadline = when;
  connection.has_deadline = true;
  deadlines_.emplace(when, connection.id);
}

void Master::ClearDeadline(Connection& connection) {
  if (!connection.has_deadline) return;
  deadlines_.erase({connection.deadline, connection.id});
  connection.has_deadline = false;
}

void Master::Watch(Connection& connection, bool on) {
  if (on == connection.watched) return;
  if (on) {
    EpollControl(epoll_.get(), EPOLL_CTL_ADD, connection.fd.get(), EPOLLIN | EPOLLRDHUP,
                 Tag(kConnectionKind, connection.id));
  } else {
    EpollControl(epoll_.get(), EPOLL_CTL_DEL, connection.fd.get(), 0, 0);
  }
  connection.watched = on;
}

void Master::ReapWorkers() {
  for (;;) {
    int status = 0;
    pid_t pid = waitpid(-1, &status, WNOHANG);
    if (pid <= 0) return;
    auto it = workers_.find(pid);
    if (it == workers_.end()) continue;
    Worker& worker = it->second;
    bool failed = WIFSIGNALED(status) || (WIFEXITED(status) && WEXITSTATUS(status) != 0);
    if (WIFSIGNALED(status)) {
      syslog(LOG_ERR, "worker %d was killed by signal %d", pid, WTERMSIG(status));
    } else if (failed) {
      syslog(LOG_ERR, "worker %d exited with status %d", pid, WEXITSTATUS(status));
    }
    // Its last replies first: what it finished is not lost with it.
    std::string message;
    Sonvik::util::UniqueFd ignored;
    while (worker.channel.valid() && ReceiveChannelMessage(worker.channel.get(), &message, &ignored,
                                                           true) == ReceiveResult::kMessage) {
      HandleReply(worker, message);
    }
    uint64_t ticket = slots_[worker.slot].exchange(0);
    auto handed = handed_.find(ticket);
    if (ticket != 0 && handed != handed_.end()) {
      syslog(LOG_ERR, "worker %d died during a request; its connection is closed", pid);
      uint64_t id = handed->second.connection_id;
      handed_.erase(handed);
      CloseConnection(id);
    }
    slot_taken_[worker.slot] = false;
    auto started = started_at_.find(pid);
    // SIGKILL and SIGTERM come from outside (an operator, the OOM killer); they say nothing
    // about whether a new worker can start.
    bool killed_from_outside =
        WIFSIGNALED(status) && (WTERMSIG(status) == SIGKILL || WTERMSIG(status) == SIGTERM);
    if (failed && !killed_from_outside && started != started_at_.end() &&
        Clock::now() - started->second < kQuickDeath) {
      if (++quick_deaths_ >= 5) spawn_blocked_until_ = Clock::now() + std::chrono::seconds(1);
    } else {
      quick_deaths_ = 0;
    }
    if (started != started_at_.end()) started_at_.erase(started);
    if (worker.channel.valid()) {
      EpollControl(epoll_.get(), EPOLL_CTL_DEL, worker.channel.get(), 0, 0);
    }
    workers_.erase(it);
  }
}

int Master::ActiveWorkers() const {
  int active = 0;
  for (const auto& [pid, worker] : workers_) {
    if (!worker.retiring) ++active;
  }
  return active - retires_pending_;
}

std::vector<uint64_t> Master::ServedTickets() const {
  std::vector<uint64_t> tickets;
  for (const auto& [pid, worker] : workers_) {
    uint64_t ticket = slots_[worker.slot].load(std::memory_order_acquire);
    if (ticket != 0) tickets.push_back(ticket);
  }
  return tickets;
}

std::optional<Master::Clock::time_point> Master::OldestWaiting() const {
  std::optional<Clock::time_point> oldest;
  std::vector<uint64_t> served = ServedTickets();
  for (const auto& [ticket, handed] : handed_) {
    if (std::find(served.begin(), served.end(), ticket) != served.end()) continue;
    oldest = handed.queued_at;  // tickets run in the order handed: the first is the oldest
    break;
  }
  for (uint64_t id : backlog_) {
    auto it = connections_.find(id);
    if (it == connections_.end()) continue;
    if (!oldest || it->second->queued_at < *oldest) oldest = it->second->queued_at;
    break;
  }
  return oldest;
}

int Master::OverdueRequests(Clock::time_point now) const {
  int overdue = 0;
  // Both lists are in arrival order: the first request not yet overdue ends each count.
  std::vector<uint64_t> served = ServedTickets();
  for (const auto& [ticket, handed] : handed_) {
    if (std::find(served.begin(), served.end(), ticket) != served.end()) continue;
    if (now - handed.queued_at < kGrowAfterWait) break;
    ++overdue;
  }
  for (uint64_t id : backlog_) {
    auto it = connections_.find(id);
    if (it == connections_.end()) continue;
    if (now - it->second->queued_at < kGrowAfterWait) break;
    ++overdue;
  }
  return overdue;
}

void Master::MaintainPool() {
  if (draining_) return;
  auto now = Clock::now();
  FillQueue();
  int active = ActiveWorkers();
  size_t served = ServedTickets().size();
  bool waiting = !backlog_.empty() || handed_.size() > served;
  int overdue = waiting ? OverdueRequests(now) : 0;
  // The fewest workers left idle at any moment of the window; none while requests are overdue.
  // The queue hands work to idle workers in turn, so no single worker's idle time says whether
  // the pool is too big.
  fewest_idle_ = std::min(fewest_idle_, overdue > 0 ? 0 : active - static_cast<int>(served));
  if (now >= spawn_blocked_until_) {
    while (active < pool_.min_workers || (overdue > 0 && active < pool_.max_workers)) {
      if (!SpawnWorker()) break;
      ++active;
      --overdue;
    }
  }
  if (now < next_pool_check_) return;
  next_pool_check_ = now + std::chrono::seconds(1);
  ReclaimLost();
  if (now - idle_window_start_ >= kIdleWorkerTime) {
    // Shrink one at a time, so a burst that comes back finds most of the pool still there.
    if (fewest_idle_ > 0 && active > pool_.min_workers) RetireOneWorker();
    fewest_idle_ = INT_MAX;
    idle_window_start_ = now;
  }
}

bool Master::SpawnWorker() {
  auto free_slot = std::find(slot_taken_.begin(), slot_taken_.end(), false);
  if (free_slot == slot_taken_.end()) {
    syslog(LOG_ERR, "cannot start a worker: all %zu worker slots are taken", slots_.size());
    return false;
  }
  size_t slot = static_cast<size_t>(free_slot - slot_taken_.begin());
  Sonvik::util::UniqueFd master_end, worker_end;
  MakeChannelPair(&master_end, &worker_end);
  pid_t pid = fork();
  if (pid < 0) {
    syslog(LOG_ERR, "cannot start a worker: %s", std::strerror(errno));
    spawn_blocked_until_ = Clock::now() + std::chrono::seconds(1);
    return false;
  }
  if (pid == 0) {
    // The worker keeps nothing of the master's but its channel and the queue: no listener, no
    // client sockets (a connection must close when the master closes it), no other channels.
    closelog();  // before the descriptors go: its socket may have any number, 3 and 4 included
    // Out of the way first, so that neither lands on the other's final number.
    int channel = fcntl(worker_end.get(), F_DUPFD, 10);
    int queue = fcntl(workers_queue_.get(), F_DUPFD, 10);
    bool placed = channel >= 0 && queue >= 0 && dup2(channel, 3) == 3 && dup2(queue, 4) == 4;
    close_range(5, UINT_MAX, 0);
    if (!placed) _exit(1);
    WorkerLink link;
    link.channel.Reset(3);
    link.queue.Reset(4);
    link.serving = &slots_[slot];
    _exit(worker_main_(std::move(link)));
  }
  slot_taken_[slot] = true;
  slots_[slot].store(0);
  Worker worker;
  worker.pid = pid;
  worker.channel = std::move(master_end);
  worker.slot = slot;
  EpollControl(epoll_.get(), EPOLL_CTL_ADD, worker.channel.get(), EPOLLIN,
               Tag(kWorkerKind, static_cast<uint64_t>(pid)));
  started_at_[pid] = Clock::now();
  workers_.emplace(pid, std::move(worker));
  return true;
}

void Master::ReclaimLost() {
  // A worker killed between taking a message and saying so in its slot leaves that message
  // unaccounted for: a request that would wait forever, or a retirement that never comes. With
  // the queue empty, an unclaimed ticket seen at two checks a second apart is such a one.
  int queued_bytes = 0;
  if (ioctl(queue_.get(), SIOCOUTQ, &queued_bytes) != 0 || queued_bytes != 0) {
    suspects_.clear();
    retire_suspect_ = false;
    return;
  }
  std::vector<uint64_t> served = ServedTickets();
  std::set<uint64_t> unclaimed;
  for (const auto& [ticket, handed] : handed_) {
    if (std::find(served.begin(), served.end(), ticket) == served.end()) unclaimed.insert(ticket);
  }
  for (uint64_t ticket : unclaimed) {
    if (suspects_.count(ticket) == 0) continue;
    auto handed = handed_.find(ticket);
    syslog(LOG_ERR, "a worker died as it took a request; its connection is closed");
    uint64_t id = handed->second.connection_id;
    handed_.erase(handed);
    CloseConnection(id);
  }
  std::erase_if(unclaimed, [this](uint64_t ticket) { return handed_.count(ticket) == 0; });
  suspects_ = std::move(unclaimed);
  if (retire_suspect_ && retires_pending_ > 0) retires_pending_ = 0;
  retire_suspect_ = retires_pending_ > 0;
}

bool Master::RetireOneWorker() {
  if (!SendChannelMessage(queue_.get(), EncodeRetireMessage(), -1, true)) return false;
  ++retires_pending_;
  return true;
}

void Master::RetireForDrain() {
  // After every waiting request: the queue is served in order.
  while (draining_ && backlog_.empty() && ActiveWorkers() > 0) {
    if (!RetireOneWorker()) return;  // full: the next reply makes room
  }
}

void Master::StartDrain() {
  draining_ = true;
  drain_deadline_ = Clock::now() + kDrainTime;
  EpollControl(epoll_.get(), EPOLL_CTL_DEL, listener_.get(), 0, 0);
  listener_.Reset();
  std::vector<uint64_t> to_close;
  for (auto& [id, connection] : connections_) {
    if (connection->state == ConnectionState::kReading ||
        connection->state == ConnectionState::kClosing) {
      to_close.push_back(id);
    }
  }
  for (uint64_t id : to_close) CloseConnection(id);
  RetireForDrain();
}

}  // namespace QUOR::server
