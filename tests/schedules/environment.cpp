#include "tests/schedules/environment.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <sys/socket.h>

namespace {

constexpr int BUS = 0x7000;
constexpr int TO_POE = 0x7001;
constexpr int TO_MAIN = 0x7002;
constexpr int LISTENER = 0x7003;
constexpr int EVENT = 0x7004;
constexpr int FIRST_CONNECTION = 0x7010;
constexpr Scheduler::Time PATIENCE = 20 * Scheduler::SECOND;

int failWith(int error) {
  errno = error;
  return -1;
}

} // namespace

Environment& environment() {
  static Environment theEnvironment;
  return theEnvironment;
}

void Environment::sendConfiguration(const PoeConfig& config) {
  std::string message(sizeof MSGID_CONFIG + sizeof config, '\0');
  std::memcpy(message.data() + sizeof MSGID_CONFIG, &config, sizeof config);
  m_toPoe.push_back(message);
  scheduler().step("(main process) mq_send");
}

void Environment::awaitStatus(unsigned count) {
  if (!scheduler().waitUntil("(main process) mq_receive", scheduler().now() + PATIENCE,
                             [&] { return statuses.size() >= count; })) {
    scheduler().fail("no status message for 20 s");
  }
}

void Environment::interruptService() {
  m_isInterrupted = true;
  scheduler().step("(main process) kill");
}

int Environment::connect() {
  if (!scheduler().waitUntil("(client) connect", scheduler().now() + PATIENCE,
                             [&] { return m_isListening; })) {
    return NOBODY_LISTENS;
  }
  const int connection = FIRST_CONNECTION + static_cast<int>(m_connections.size());
  m_connections[connection];
  return connection;
}

void Environment::send(int connection, const std::string& line) {
  m_connections[connection].toServer += line;
  scheduler().step("(client) send");
}

std::string Environment::awaitReply(int connection) {
  Connection& client = m_connections[connection];
  std::size_t prompt = std::string::npos;
  const bool isThere = scheduler().waitUntil("(client) recv", scheduler().now() + PATIENCE, [&] {
    prompt = client.toClient.find("> ");
    return prompt != std::string::npos || client.hasServerLeft;
  });
  if (!isThere) {
    scheduler().fail("no reply for 20 s");
  }
  std::string reply = client.toClient.substr(0, prompt);
  client.toClient.erase(0, prompt == std::string::npos ? prompt : prompt + 2);
  return reply;
}

void Environment::hangUp(int connection) {
  m_connections[connection].hasClientLeft = true;
}

void Environment::checkClosed() const {
  if (!m_open.empty()) {
    scheduler().fail("a descriptor stays open");
  }
  if (m_hasQueue) {
    scheduler().fail("the queue stays");
  }
}

void Environment::require(int descriptor) const {
  if (m_open.count(descriptor) == 0) {
    scheduler().fail("a call uses a descriptor that is not open");
  }
}

int Environment::open(const char* path) {
  if (std::strcmp(path, "/dev/i2c-0") != 0) {
    scheduler().fail(std::string("open of ") + path);
  }
  m_open.insert(BUS);
  return BUS;
}

// The bus is the engine mutex's: so no step is needed here.
int Environment::transfer(int descriptor, void* arguments) {
  require(descriptor);
  if (arguments == nullptr) {
    return 0;
  }
  if (!scheduler().holdsRecursiveMutex()) {
    scheduler().fail("a transfer without the engine mutex");
  }
  const auto* request = static_cast<const i2c_smbus_ioctl_data*>(arguments);
  std::uint8_t& value = registers.at(request->command);
  if (request->read_write == I2C_SMBUS_READ) {
    request->data->byte = value;
  } else {
    value = request->data->byte;
  }
  return 0;
}

int Environment::openQueue(const char* name) {
  const bool isToPoe = std::strcmp(name, QUEUE_TO_POE) == 0;
  m_hasQueue |= isToPoe;
  m_open.insert(isToPoe ? TO_POE : TO_MAIN);
  return isToPoe ? TO_POE : TO_MAIN;
}

void Environment::unlinkQueue(const char* name) {
  m_hasQueue = m_hasQueue && std::strcmp(name, QUEUE_TO_POE) != 0;
}

ssize_t Environment::receive(char* buffer, std::size_t size, Time end) {
  require(TO_POE);
  const bool isReady =
      scheduler().waitUntil("mq_timedreceive", end, [&] { return m_isInterrupted || !m_toPoe.empty(); });
  if (!isReady || m_toPoe.empty()) {
    return failWith(isReady ? EINTR : ETIMEDOUT);
  }
  const std::string message = m_toPoe.front();
  m_toPoe.pop_front();
  std::copy_n(message.data(), std::min(size, message.size()), buffer);
  return static_cast<ssize_t>(message.size());
}

int Environment::sendStatus(const char* data, std::size_t size) {
  require(TO_MAIN);
  PoeStatusMessage message{};
  if (size != sizeof message) {
    scheduler().fail("a status message of another size");
  }
  std::memcpy(&message, data, size);
  statuses.push_back(message.status);
  scheduler().step("mq_timedsend");
  return 0;
}

int Environment::openListener(int family) {
  if (family != AF_INET) {
    return failWith(EAFNOSUPPORT);
  }
  m_open.insert(LISTENER);
  m_isListening = true;
  return LISTENER;
}

int Environment::openEvent() {
  m_open.insert(EVENT);
  m_isEventSet = false;
  return EVENT;
}

void Environment::writeEvent(int descriptor) {
  require(descriptor);
  m_isEventSet = true;
  scheduler().step("eventfd_write");
}

short Environment::eventsOf(const pollfd& descriptor) const {
  require(descriptor.fd);
  short events = 0;
  if (descriptor.fd == EVENT) {
    events = m_isEventSet ? POLLIN : 0;
  } else if (descriptor.fd == LISTENER) {
    const bool isWaiting = std::any_of(m_connections.begin(), m_connections.end(),
                                       [](const auto& client) { return !client.second.isAccepted; });
    events = isWaiting ? POLLIN : 0;
  } else {
    const Connection& client = m_connections.at(descriptor.fd);
    events = client.hasClientLeft || !client.toServer.empty() ? POLLIN | POLLOUT : POLLOUT;
  }
  return static_cast<short>(events & descriptor.events);
}

int Environment::poll(pollfd* descriptors, std::size_t count, Time end) {
  const auto ready = [&] {
    return std::count_if(descriptors, descriptors + count,
                         [&](const pollfd& descriptor) { return eventsOf(descriptor) != 0; });
  };
  scheduler().waitUntil("poll", end, [&] { return ready() != 0; });
  for (std::size_t i = 0; i < count; i++) {
    descriptors[i].revents = eventsOf(descriptors[i]);
  }
  return static_cast<int>(ready());
}

int Environment::accept(int listener) {
  require(listener);
  for (auto& [descriptor, client] : m_connections) {
    if (!client.isAccepted) {
      client.isAccepted = true;
      m_open.insert(descriptor);
      return descriptor;
    }
  }
  return failWith(EAGAIN);
}

ssize_t Environment::receiveFrom(int connection, char* buffer, std::size_t size) {
  require(connection);
  Connection& client = m_connections[connection];
  if (client.toServer.empty()) {
    return client.hasClientLeft ? 0 : failWith(EAGAIN);
  }
  const std::size_t count = client.toServer.copy(buffer, size);
  client.toServer.erase(0, count);
  return static_cast<ssize_t>(count);
}

ssize_t Environment::sendTo(int connection, const char* data, std::size_t size) {
  require(connection);
  m_connections[connection].toClient.append(data, size);
  scheduler().step("send");
  return static_cast<ssize_t>(size);
}

int Environment::close(int descriptor) {
  require(descriptor);
  m_open.erase(descriptor);
  m_isListening = m_isListening && descriptor != LISTENER;
  for (auto& [connection, client] : m_connections) {
    client.hasServerLeft |= connection == descriptor || (descriptor == LISTENER && !client.isAccepted);
    client.isAccepted |= client.hasServerLeft;
  }
  return 0;
}

void Environment::addLog(const std::string& text) {
  log.push_back({scheduler().now(), text});
  scheduler().step("syslog");
}
