// The client's end of a connection to a server that is fuzzed, over sockets with little room. One thread
// works both ends.
#pragma once

#include "posix/file_descriptor.h"

#include <functional>
#include <string>

class ClientEnd {
public:
  // `serve` does what the server can do without waiting.
  explicit ClientEnd(std::function<void()> serve);

  // To be taken once.
  FileDescriptor takeServersEnd() { return std::move(m_serversEnd); }

  // Sends all of it, and receives what is in the way; nothing once the server has closed.
  void send(const std::string& piece);

  // Receives what is there. False when there is nothing.
  bool receive();

  // Receives until the server has no more to say.
  void receiveAll();

  // Sends no more, expects that the server closes, and returns everything that was received.
  std::string finish();

private:
  std::function<void()> m_serve;
  FileDescriptor m_end;
  FileDescriptor m_serversEnd;
  std::string m_received;
  bool m_isOver = false; // the server has closed
};
