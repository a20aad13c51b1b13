#include "platform/host/console/console_client.h"

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include <poll.h>
#include <sys/socket.h>

#include "platform/host/monotonic_clock.h"

namespace Zorvan {

namespace {

constexpr std::uint64_t STALL_LIMIT = 60000; // for a client that does not read
constexpr std::uint64_t LINGER_LIMIT = 2000; // for a client that does not close

bool isTemporary(int error) {
  return error == EAGAIN || error == EINTR;
}

} // namespace

ConsoleClient::ConsoleClient(FileDescriptor socket)
    : m_socket(std::move(socket)), m_lastActive(monotonicMilliseconds()) {
  flush();
}

short ConsoleClient::events() const {
  if (m_phase == Phase::SERVED && m_session.hasOutput()) {
    return POLLOUT;
  }
  return POLLIN;
}

bool ConsoleClient::serve(short events, std::vector<char>& buffer) {
  if (m_phase == Phase::LINGERING) {
    if (events != 0) {
      discard();
    }
    return false;
  }
  // Whatever the event is, also one that was not asked for: what has broken shows in the call that fails.
  // While output waits, neither bytes nor a command are taken.
  if (events != 0) {
    receive();
  }
  const bool hadCommand = m_session.step(buffer);
  flush();
  if (m_phase == Phase::SERVED && m_session.isOver()) {
    linger();
  }
  return hadCommand;
}

void ConsoleClient::dismiss(const char* reason) {
  // One try: the socket of an idle client has room for a line.
  send(m_socket.get(), reason, std::strlen(reason), MSG_NOSIGNAL);
  linger();
}

void ConsoleClient::expire(std::uint64_t now) {
  if (now >= m_deadline) {
    m_phase = Phase::GONE;
  }
}

// The end of input comes after all commands: bytes are only received when no command and no output is left.
// So nothing is unread or unsent then, and the socket can be closed at once.
void ConsoleClient::receive() {
  if (!m_session.wantsInput()) {
    return;
  }
  LineReader& input = m_session.input();
  const ssize_t count = recv(m_socket.get(), input.space(), input.spaceSize(), 0);
  if (count > 0) {
    m_lastActive = monotonicMilliseconds();
    input.added(m_telnet.filter(input.space(), static_cast<std::size_t>(count)));
  } else if (count == 0 || !isTemporary(errno)) {
    m_phase = Phase::GONE;
  }
}

void ConsoleClient::flush() {
  if (!m_session.hasOutput()) {
    return;
  }
  const ssize_t count = send(m_socket.get(), m_session.output(), m_session.outputSize(), MSG_NOSIGNAL);
  if (count < 0 && !isTemporary(errno)) {
    m_phase = Phase::GONE;
    return;
  }
  if (count > 0) {
    m_lastActive = monotonicMilliseconds();
    m_session.sent(static_cast<std::size_t>(count));
  }
  if (!m_session.hasOutput()) {
    m_deadline = NEVER;
  } else if (count > 0 || m_deadline == NEVER) {
    m_deadline = monotonicMilliseconds() + STALL_LIMIT;
  }
}

// To close a socket with bytes unread resets the connection, and the reset can overtake the last reply. So
// the client sees the end of the stream, and what it still sends is thrown away until it closes, too.
void ConsoleClient::linger() {
  m_phase = Phase::LINGERING;
  m_deadline = monotonicMilliseconds() + LINGER_LIMIT;
  if (shutdown(m_socket.get(), SHUT_WR) != 0) {
    m_phase = Phase::GONE;
  }
}

void ConsoleClient::discard() {
  std::array<char, 2048> rubbish;
  const ssize_t count = recv(m_socket.get(), rubbish.data(), rubbish.size(), 0);
  if (count == 0 || (count < 0 && !isTemporary(errno))) {
    m_phase = Phase::GONE;
  }
}

} // namespace Zorvan
