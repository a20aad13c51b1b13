#include "platform/debug_server.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <syslog.h>

#include "platform/host/console/console_client.h"
#include "platform/host/console/console_listener.h"
#include "platform/host/console/debug_registry.h"
#include "platform/host/monotonic_clock.h"

namespace Zorvan {

namespace {

constexpr std::size_t MAX_CLIENTS = 16;
constexpr const char* IDLE_LONGEST =
    "Closed for a new client: at most 16 are served, this one was idle longest\n";
static_assert(MAX_CLIENTS == 16, "the limit is named in IDLE_LONGEST");

// Connections that only wait for the other side to close; of more than this the oldest is closed at once.
constexpr std::size_t MAX_LINGERING = 16;

// How long no connection is accepted after it has failed, for example for want of descriptors.
constexpr std::uint64_t ACCEPT_PAUSE = 1000; // milliseconds

// After each command: a thread that waits for a mutex which the command has released gets it before the next
// command does. On one processor it would not run otherwise while commands follow each other.
constexpr std::chrono::microseconds COMMAND_PAUSE{100};

void reportNotStarted(const char* reason) {
  syslog(LOG_ERR, "debug console: cannot start the server: %s\n", reason);
}

} // namespace

// Everything but m_stopping and m_wake belongs to the server's thread while there is one, else to the
// owner's.
class CdebugServer::Server {
public:
  Server(std::uint16_t port, std::uint32_t bufferSize) : m_port(port), m_bufferSize(bufferSize) {}
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;
  ~Server() { stop(); }

  bool start();
  void stop();

private:
  bool open();
  bool launch();
  void close();
  void run();
  void goRound(std::size_t firstSlot);
  int fillPollSet();
  void acceptOne(int listener);
  void makeRoom();
  void serveClients(std::size_t firstSlot);
  void dropClients();

  const std::uint16_t m_port;
  const std::uint32_t m_bufferSize;
  std::thread m_thread;
  std::atomic<bool> m_stopping{false};
  FileDescriptor m_wake;
  std::vector<FileDescriptor> m_listeners;
  std::uint64_t m_acceptAgain = 0;                       // no connection is accepted before this time
  std::vector<std::unique_ptr<ConsoleClient>> m_clients; // in the order of their connections
  std::vector<pollfd> m_pollSet;                         // m_wake, the listeners, the clients
  std::vector<char> m_buffer;                            // the handlers'
};

bool CdebugServer::Server::start() {
  if (m_thread.joinable()) {
    return true;
  }
  DebugRegistry::instance().showConstructed();
  try {
    if (open() && launch()) {
      return true;
    }
  } catch (const std::exception& error) {
    reportNotStarted(error.what());
  }
  close();
  return false;
}

bool CdebugServer::Server::open() {
  for (const int family : {AF_INET, AF_INET6}) {
    FileDescriptor listener = listenOnLoopback(family, m_port);
    if (listener.isOpen()) {
      m_listeners.push_back(std::move(listener));
    }
  }
  return !m_listeners.empty();
}

bool CdebugServer::Server::launch() {
  m_wake = FileDescriptor(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
  if (!m_wake.isOpen()) {
    syslog(LOG_ERR, "debug console: cannot create an event descriptor: %s\n", std::strerror(errno));
    return false;
  }
  m_stopping = false;
  m_acceptAgain = 0;
  m_pollSet.reserve(1 + m_listeners.size() + MAX_CLIENTS + MAX_LINGERING);
  m_thread = std::thread(&Server::run, this);
  return true;
}

void CdebugServer::Server::stop() {
  if (!m_thread.joinable()) {
    return;
  }
  m_stopping = true;
  eventfd_write(m_wake.get(), 1);
  m_thread.join();
  close();
}

void CdebugServer::Server::close() {
  m_clients.clear();
  m_listeners.clear();
  m_wake = FileDescriptor();
  m_pollSet = {};
  m_buffer = {};
}

void CdebugServer::Server::run() {
  while (!m_stopping) {
    const int timeout = fillPollSet();
    const std::size_t firstSlot = m_pollSet.size() - m_clients.size();
    poll(m_pollSet.data(), m_pollSet.size(), timeout); // where it fails, no event is there
    try {
      goRound(firstSlot);
    } catch (const std::bad_alloc&) {
      syslog(LOG_ERR, "debug console: no memory; all clients are closed\n");
      m_clients.clear();
    }
  }
}

void CdebugServer::Server::goRound(std::size_t firstSlot) {
  serveClients(firstSlot);
  for (std::size_t slot = 1; slot < firstSlot; ++slot) {
    if (m_pollSet[slot].revents != 0) {
      acceptOne(m_pollSet[slot].fd);
    }
  }
  dropClients();
}

// Returns the time-out for poll(). Allocates nothing: launch has made room for all.
int CdebugServer::Server::fillPollSet() {
  const std::uint64_t now = monotonicMilliseconds();
  const bool accepting = now >= m_acceptAgain;
  std::uint64_t wakeUp = accepting ? ConsoleClient::NEVER : m_acceptAgain;
  m_pollSet.assign(1, {m_wake.get(), POLLIN, 0});
  for (const FileDescriptor& listener : m_listeners) {
    m_pollSet.push_back({listener.get(), static_cast<short>(accepting ? POLLIN : 0), 0});
  }
  for (const auto& client : m_clients) {
    m_pollSet.push_back({client->socket(), client->events(), 0});
    wakeUp = std::min(wakeUp, client->isReady() ? now : client->deadline());
  }
  if (wakeUp == ConsoleClient::NEVER) {
    return -1;
  }
  return static_cast<int>(std::min<std::uint64_t>(wakeUp > now ? wakeUp - now : 0, INT_MAX));
}

// One connection a round, so that a crowd of new connections does not keep the clients waiting.
void CdebugServer::Server::acceptOne(int listener) {
  FileDescriptor socket(accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
  if (!socket.isOpen()) {
    // The connection stays in the queue when there is no descriptor for it, and poll() would report it again
    // and again.
    if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED) {
      m_acceptAgain = monotonicMilliseconds() + ACCEPT_PAUSE;
    }
    return;
  }
  m_buffer.resize(m_bufferSize); // with the first client, who may never come
  makeRoom();
  m_clients.push_back(std::make_unique<ConsoleClient>(std::move(socket)));
}

// When all places are taken, the client that has been idle longest loses its own, so that unused
// clients lock no other client out. One in the middle of a command loses it only when all are.
void CdebugServer::Server::makeRoom() {
  const auto served = std::count_if(m_clients.begin(), m_clients.end(),
                                    [](const auto& client) { return client->isServed(); });
  if (static_cast<std::size_t>(served) < MAX_CLIENTS) {
    return;
  }
  const auto claim = [](const auto& client) {
    return std::make_tuple(!client->isServed(), !client->isIdle(), client->lastActive());
  };
  const auto weakest = std::min_element(m_clients.begin(), m_clients.end(),
                                        [&](const auto& a, const auto& b) { return claim(a) < claim(b); });
  (*weakest)->dismiss(IDLE_LONGEST);
}

// One command of each client a round, so that a client with many does not keep the others waiting.
void CdebugServer::Server::serveClients(std::size_t firstSlot) {
  for (std::size_t i = 0; i < m_clients.size() && !m_stopping; ++i) {
    if (m_clients[i]->serve(m_pollSet[firstSlot + i].revents, m_buffer)) {
      std::this_thread::sleep_for(COMMAND_PAUSE);
    }
    m_clients[i]->expire(monotonicMilliseconds());
  }
}

void CdebugServer::Server::dropClients() {
  const auto isGone = [](const auto& client) { return client->isGone(); };
  m_clients.erase(std::remove_if(m_clients.begin(), m_clients.end(), isGone), m_clients.end());
  const auto isLingering = [](const auto& client) { return !client->isServed(); };
  auto lingering = static_cast<std::size_t>(std::count_if(m_clients.begin(), m_clients.end(), isLingering));
  for (; lingering > MAX_LINGERING; --lingering) {
    m_clients.erase(std::find_if(m_clients.begin(), m_clients.end(), isLingering));
  }
}

CdebugServer::CdebugServer(std::uint16_t port, std::uint32_t bufferSize) noexcept
    : m_server(new (std::nothrow) Server(port, bufferSize)) {}

CdebugServer::~CdebugServer() = default;

bool CdebugServer::start() {
  if (m_server == nullptr) {
    reportNotStarted("no memory");
    return false;
  }
  return m_server->start();
}

void CdebugServer::stop() {
  if (m_server != nullptr) {
    m_server->stop();
  }
}

} // namespace Zorvan
