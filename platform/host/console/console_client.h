// One connection of the debug console: moves the bytes between its socket and its session.
//
// Owned and used by the server's thread. The socket never blocks. Times are in milliseconds of the monotonic
// clock.
#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "platform/host/console/console_session.h"
#include "platform/host/console/telnet_filter.h"
#include "posix/file_descriptor.h"

namespace Zorvan {

class ConsoleClient {
public:
  static constexpr std::uint64_t NEVER = std::numeric_limits<std::uint64_t>::max();

  // A client that is served.
  explicit ConsoleClient(FileDescriptor socket);

  ConsoleClient(const ConsoleClient&) = delete;
  ConsoleClient& operator=(const ConsoleClient&) = delete;

  int socket() const { return m_socket.get(); }

  // Events of poll() that the client waits for.
  short events() const;

  // True when there is work that waits for no event.
  bool isReady() const { return m_phase == Phase::SERVED && m_session.canStep(); }

  // True while the client has neither a command nor a reply in progress.
  bool isIdle() const { return m_session.wantsInput(); }

  // When bytes last went in or out, at first when the connection was accepted.
  std::uint64_t lastActive() const { return m_lastActive; }

  // True until the connection has nothing left but to be closed in good order.
  bool isServed() const { return m_phase == Phase::SERVED; }

  // The connection is of no more use.
  bool isGone() const { return m_phase == Phase::GONE; }

  // The time at which the client is given up if nothing happens before.
  std::uint64_t deadline() const { return m_deadline; }

  // Goes one round: sends and receives what is possible after `events`, and takes one command at most.
  // True when it took one.
  bool serve(short events, std::vector<char>& buffer);

  // Tells the client `reason`, which is one line, and serves it no more. A reply in progress is cut.
  void dismiss(const char* reason);

  // Gives the client up when its deadline has passed at `now`.
  void expire(std::uint64_t now);

private:
  enum class Phase { SERVED, LINGERING, GONE };

  void receive();
  void flush();
  void linger();
  void discard();

  FileDescriptor m_socket;
  TelnetFilter m_telnet;
  ConsoleSession m_session;
  Phase m_phase = Phase::SERVED;
  std::uint64_t m_deadline = NEVER;
  std::uint64_t m_lastActive;
};

} // namespace Zorvan
