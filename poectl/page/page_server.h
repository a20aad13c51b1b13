// The HTTP server of the page, on 127.0.0.1.
#pragma once

#include "poectl/page/page_guard.h"

#include <chrono>
#include <functional>
#include <initializer_list>
#include <list>
#include <memory>
#include <stdexcept>
#include <string>

struct MHD_Connection;
struct MHD_Daemon;

class PageError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// The listening socket: taken before anything else, so that a port that is taken changes nothing.
class PageSocket {
public:
  // `port` 0: any that is free. Throws PageError, one line.
  explicit PageSocket(unsigned port);
  PageSocket(const PageSocket&) = delete;
  PageSocket& operator=(const PageSocket&) = delete;
  ~PageSocket();

  unsigned port() const { return m_port; }
  // From now on the caller closes it.
  int release();

private:
  int m_socket;
  unsigned m_port = 0;
};

// Sends the page, the updates and the commands for the simulated card. Limits hold for all connections
// together and for each: their number, the size of a request, the time for it. A reader that takes nothing
// for MAX_SILENCE is disconnected; one that reads slowly delays nobody. No call waits. One thread.
class PageServer {
public:
  static constexpr unsigned MAX_CONNECTIONS = 64;
  static constexpr unsigned MAX_STREAMS = 32;       // connections that get updates
  static constexpr std::size_t MAX_REQUEST = 16384; // bytes of a connection's requests and replies in memory
  static constexpr std::chrono::seconds MAX_SILENCE{10}; // also the time for a whole request and its reply

  struct Hooks {
    // What a reader gets next, and the number of what follows it; empty when nothing has come. A reader
    // begins with PageUpdates::START.
    std::function<std::string(std::uint64_t& number)> updates;
    // Hands a command to the simulated card. Nothing, or why that cannot be.
    std::function<std::optional<PageRefusal>(const std::string& command)> command;
  };

  // Throws PageError.
  PageServer(PageSocket& socket, const PageGuard& guard, Hooks hooks);
  PageServer(const PageServer&) = delete;
  PageServer& operator=(const PageServer&) = delete;
  ~PageServer();

  // Takes requests, and sends replies and the updates that have come.
  void work();
  // Until there is something to do, one of `others` is readable or `limit` has passed.
  void wait(std::initializer_list<int> others, std::chrono::milliseconds limit) const;

private:
  struct Callbacks;
  struct Connection;
  struct Request;
  struct Stream;
  using Clock = std::chrono::steady_clock;

  int answerResource(MHD_Connection* connection, PageResource resource, const Request& request);
  int openStream(MHD_Connection* connection);
  void wakeStreams(bool isForced);
  void endLateRequests(Clock::time_point now);

  const PageGuard& m_guard;
  const Hooks m_hooks;
  std::list<Connection> m_connections;
  std::list<Stream> m_streams;
  Clock::time_point m_lastSign; // that the connections of all streams stand
  MHD_Daemon* m_daemon = nullptr;
};
