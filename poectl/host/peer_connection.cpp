#include "poectl/host/peer_connection.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <unistd.h>

namespace {

using Kind = PeerError::Kind;

constexpr std::chrono::milliseconds FULL_BACKLOG_RETRY{20};

[[noreturn]] void fail(Kind kind, int error) {
  throw PeerError(kind, std::strerror(error));
}

int millisecondsUntil(PeerConnection::Clock::time_point end) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - PeerConnection::Clock::now());
  return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 3'600'000));
}

} // namespace

PeerConnection::PeerConnection(const sockaddr* address, socklen_t length, Clock::time_point deadline,
                               int stop)
    : m_socket(socket(address->sa_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)), m_stop(stop) {
  connectBy(address, length, deadline);
}

uid_t PeerConnection::peerUser() const {
  ucred peer{};
  socklen_t size = sizeof peer;
  if (getsockopt(m_socket.get(), SOL_SOCKET, SO_PEERCRED, &peer, &size) != 0) {
    fail(Kind::UNREACHABLE, errno);
  }
  return peer.uid;
}

void PeerConnection::send(const std::string& text, Clock::time_point deadline) {
  for (std::size_t sent = 0; sent < text.size();) {
    await(POLLOUT, deadline);
    const ssize_t part = ::send(m_socket.get(), text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
    if (part >= 0) {
      sent += static_cast<std::size_t>(part);
    } else if (errno != EAGAIN && errno != EINTR) {
      fail(Kind::GONE, errno);
    }
  }
}

std::string PeerConnection::receive(Clock::time_point deadline,
                                    const std::function<bool(const std::string&)>& isComplete) {
  std::string text;
  char block[4096];
  while (!isComplete(text)) {
    await(POLLIN, deadline);
    const ssize_t length = recv(m_socket.get(), block, sizeof block, 0);
    if (length == 0) {
      break;
    }
    if (length < 0 && errno != EAGAIN && errno != EINTR) {
      fail(Kind::GONE, errno);
    }
    text.append(block, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    if (text.size() > MAX_REPLY_SIZE) {
      throw PeerError(Kind::TOO_LONG,
                      "more than " + std::to_string(MAX_REPLY_SIZE) + " bytes, which is the most accepted");
    }
  }
  return text;
}

void PeerConnection::connectBy(const sockaddr* address, socklen_t length, Clock::time_point deadline) {
  // A Unix socket whose listener does not accept says EAGAIN as soon as its backlog is full.
  while (connect(m_socket.get(), address, length) != 0) {
    if (errno == EINPROGRESS) {
      await(POLLOUT, deadline);
      int error = 0;
      socklen_t size = sizeof error;
      getsockopt(m_socket.get(), SOL_SOCKET, SO_ERROR, &error, &size);
      if (error != 0) {
        fail(Kind::UNREACHABLE, error);
      }
      return;
    }
    if (errno != EAGAIN) {
      fail(Kind::UNREACHABLE, errno);
    }
    pollfd stop{m_stop, POLLIN, 0};
    if (poll(&stop, 1, FULL_BACKLOG_RETRY.count()) > 0) {
      fail(Kind::INTERRUPTED, EINTR);
    }
    if (Clock::now() >= deadline) {
      fail(Kind::SILENT, ETIMEDOUT);
    }
  }
}

// Waits until the socket is ready. The deadline holds even when the socket is always ready.
void PeerConnection::await(short events, Clock::time_point deadline) const {
  for (;;) {
    pollfd ready[] = {{m_socket.get(), events, 0}, {m_stop, POLLIN, 0}}; // poll passes over NO_STOP
    const int count = poll(ready, 2, millisecondsUntil(deadline));
    if (count > 0 && ready[1].revents != 0) {
      fail(Kind::INTERRUPTED, EINTR);
    }
    if (Clock::now() >= deadline) {
      fail(Kind::SILENT, ETIMEDOUT);
    }
    if (count > 0) {
      return;
    }
    if (count < 0 && errno != EINTR) {
      fail(Kind::GONE, errno);
    }
  }
}
