// The debug console's server: takes command lines and hands them to the objects registered as Cdebugable.
//
// start, stop and destruction belong to the owner's thread. The handlers are called on a thread of the
// server. When that thread cannot have memory, it closes all clients, logs one line and goes on.
#pragma once

#include <cstdint>
#include <memory>

namespace Zorvan {

class CdebugServer {
public:
  // `port` is the TCP port; `bufferSize` is the size in bytes of the reply buffer that the handlers are
  // given. Without memory for the server the object is there all the same, and start fails.
  CdebugServer(std::uint16_t port, std::uint32_t bufferSize) noexcept;
  CdebugServer(const CdebugServer&) = delete;
  CdebugServer& operator=(const CdebugServer&) = delete;
  virtual ~CdebugServer(); // stops

  // Begins to serve. Returns false, after a line at LOG_ERR, when the port, a thread or memory cannot be had;
  // the object stays usable.
  bool start();

  // Closes all clients and joins the server's thread; waits for a command in progress. Does nothing when not
  // started.
  void stop();

private:
  class Server;
  std::unique_ptr<Server> m_server;
};

} // namespace Zorvan
