// One virtual machine that has the simulated card as its I2C adapter: what its emulator sets up, and the
// requests in its ring. One thread.
#pragma once

#include "posix/file_descriptor.h"
#include "simulator/virtio/guest_memory.h"
#include "simulator/virtio/i2c_requests.h"
#include "simulator/virtio/vhost_user_message.h"
#include "simulator/virtio/virt_queue.h"

#include <cstdint>
#include <functional>
#include <string>

class VhostUserSession {
public:
  // Takes one line about what the machine did wrong.
  using Report = std::function<void(const std::string& line)>;

  // `socket` is the connection from the emulator. `card` outlives the session.
  VhostUserSession(FileDescriptor socket, SimulatedCard& card, Report report);

  // Readable when serveMessage() has something to do.
  int socket() const { return m_socket.get(); }
  // False: the session is over, because the emulator has gone or sent what is no message; the latter was
  // reported, and so was an emulator that went while its ring was in use.
  bool serveMessage();

  // Readable when serveRequests() has something to do; -1 while the ring is not in use.
  int kick() const { return isRunning() ? m_kick.get() : -1; }
  // Carries out all requests that wait. A ring or a request that is against the rules is reported and stops
  // the ring, until the machine sets it up anew.
  void serveRequests();

private:
  bool isRunning() const { return m_kick.get() >= 0 && m_enabled && !m_broken; }
  void handle(VhostUserMessage& message);
  void handleRing(VhostUserMessage& message);
  void setMemory(VhostUserMessage& message);
  void stopRing();

  FileDescriptor m_socket;
  const Report m_report;
  GuestMemory m_memory;
  VirtQueue m_queue{m_memory};
  I2cRequests m_requests;
  FileDescriptor m_kick;
  FileDescriptor m_call;
  bool m_enabled = true; // without the feature that enables rings by a message
  bool m_broken = false;
};
