// The socket at which the emulator of a virtual machine finds the simulated card, and the thread that serves
// it. An emulator that listens there is connected to, and is the only one; else it is one at a time, one
// after the other.
#pragma once

#include "simulator/socket/unix_listener.h"
#include "simulator/virtio/vhost_user_session.h"

#include <memory>
#include <optional>
#include <string>
#include <thread>

class SimulatedCard;

class VirtioServer {
public:
  // `report` is called on the server's thread. `card` outlives the server. Throws ListenerError.
  VirtioServer(const std::string& path, SimulatedCard& card, VhostUserSession::Report report);
  // Ends a transfer that is late, and the thread.
  ~VirtioServer();
  VirtioServer(const VirtioServer&) = delete;
  VirtioServer& operator=(const VirtioServer&) = delete;

private:
  void run();
  void accept();
  void serve(FileDescriptor connection);

  std::optional<UnixListener> m_listener;
  FileDescriptor m_stop;
  SimulatedCard& m_card;
  const VhostUserSession::Report m_report;
  std::unique_ptr<VhostUserSession> m_session; // of the thread
  std::thread m_thread;                        // the last: it uses all others
};
