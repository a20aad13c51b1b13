// A neighbour of poectl that misbehaves: a listener whose every connection is handled as a test says.
#pragma once

#include <atomic>
#include <functional>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <unistd.h>
#include <vector>

class HostilePeer {
public:
  // What it does to a connection, until the other side or the test is over.
  using Conduct = std::function<void(const HostilePeer& peer, int connection)>;

  // Takes over `listener`, which is bound and listens.
  HostilePeer(int listener, Conduct conduct)
      : m_listener(listener), m_conduct(std::move(conduct)), m_thread([this] { serve(); }) {}
  HostilePeer(const HostilePeer&) = delete;
  HostilePeer& operator=(const HostilePeer&) = delete;
  ~HostilePeer() {
    m_over = true;
    m_thread.join();
    for (std::thread& connection : m_connections) {
      connection.join();
    }
    close(m_listener);
  }

  bool isOver() const { return m_over; }
  // How many connections it has taken.
  unsigned connections() const { return m_accepted; }

  // False when the other side has gone or the test is over.
  bool say(int connection, const std::string& text) const {
    for (std::size_t sent = 0; sent < text.size();) {
      pollfd writable{connection, POLLOUT, 0};
      if (m_over) {
        return false;
      }
      if (poll(&writable, 1, LOOK_UP) == 1) {
        const ssize_t part =
            send(connection, text.data() + sent, text.size() - sent, MSG_NOSIGNAL | MSG_DONTWAIT);
        if (part < 0) {
          return false;
        }
        sent += static_cast<std::size_t>(part);
      }
    }
    return true;
  }

  // Takes a line, so that closing does not reset the connection. Returns it with its end.
  std::string hear(int connection) const {
    std::string line;
    for (char byte = 0; byte != '\n' && recv(connection, &byte, 1, 0) == 1;) {
      line += byte;
    }
    return line;
  }

  // The conducts that several tests need.
  static void silent(const HostilePeer& peer, int connection) {
    pollfd gone{connection, POLLRDHUP, 0};
    while (!peer.isOver() && poll(&gone, 1, LOOK_UP) != 1) {
    }
  }
  static void drip(const HostilePeer& peer, int connection) {
    while (peer.say(connection, ">")) {
      std::this_thread::sleep_for(std::chrono::milliseconds(LOOK_UP));
    }
  }
  static void flood(const HostilePeer& peer, int connection) {
    const std::string block(65536, 'x');
    while (peer.say(connection, block)) {
    }
  }

private:
  static constexpr int LOOK_UP = 50; // ms

  void serve() {
    pollfd waiting{m_listener, POLLIN, 0};
    while (!m_over) {
      if (poll(&waiting, 1, LOOK_UP) == 1) {
        const int connection = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        m_accepted++;
        m_connections.emplace_back([this, connection] {
          m_conduct(*this, connection);
          close(connection);
        });
      }
    }
  }

  const int m_listener;
  const Conduct m_conduct;
  std::atomic<bool> m_over{false};
  std::atomic<unsigned> m_accepted{0};
  std::vector<std::thread> m_connections;
  std::thread m_thread; // the last: it uses all others
};
