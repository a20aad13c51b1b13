// A connection to another process that poectl does not trust.
#pragma once

#include "posix/file_descriptor.h"

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <sys/socket.h>

// How a conversation failed.
class PeerError : public std::runtime_error {
public:
  enum class Kind {
    UNREACHABLE, // the text is the system's reason
    GONE,        // the connection broke; the text is the system's reason
    SILENT,      // the deadline has passed
    TOO_LONG,    // the reply is larger than MAX_REPLY_SIZE
    INTERRUPTED, // `stop` became readable
  };

  PeerError(Kind kind, const std::string& text) : std::runtime_error(text), m_kind(kind) {}
  Kind kind() const { return m_kind; }

private:
  Kind m_kind;
};

// Whatever the peer does, a call ends by its deadline, keeps at most MAX_REPLY_SIZE and ends early when
// `stop` becomes readable. Every failure throws PeerError. One thread.
class PeerConnection {
public:
  using Clock = std::chrono::steady_clock;

  static constexpr std::size_t MAX_REPLY_SIZE = 65536; // bytes
  static constexpr int NO_STOP = -1;

  // Connects a stream socket. `stop` is a descriptor that stays open longer than the connection, or NO_STOP.
  PeerConnection(const sockaddr* address, socklen_t length, Clock::time_point deadline, int stop);
  PeerConnection(const PeerConnection&) = delete;
  PeerConnection& operator=(const PeerConnection&) = delete;

  // The user that has opened the other end. Unix sockets only.
  uid_t peerUser() const;

  void send(const std::string& text, Clock::time_point deadline);

  // Receives until `isComplete` accepts what has come so far or the peer closes. Returns all that came.
  std::string receive(Clock::time_point deadline, const std::function<bool(const std::string&)>& isComplete);

private:
  void connectBy(const sockaddr* address, socklen_t length, Clock::time_point deadline);
  void await(short events, Clock::time_point deadline) const;

  const FileDescriptor m_socket;
  const int m_stop;
};
