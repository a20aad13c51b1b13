// The client's side of a console connection, and a port for the server to listen on.
//
// Everything that waits gives up after ten seconds, with a test failure.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "posix/file_descriptor.h"

// A TCP port that is kept from all other programs while it exists, though this program can still listen on
// it.
class ReservedPort {
public:
  ReservedPort();

  std::uint16_t number() const { return m_number; }

  // Listens on the port itself, so that nobody else can. `family` is AF_INET or AF_INET6.
  void occupy(int family) const;

  // Stops keeping the port for the family; whoever came to listen on it in the meantime is not concerned.
  void release(int family);

private:
  bool reserve();

  FileDescriptor m_socket4;
  FileDescriptor m_socket6;
  std::uint16_t m_number = 0;
};

class ConsoleConnection {
public:
  // Connects to the loopback address of the family (AF_INET or AF_INET6). A receive buffer of `receiveBuffer`
  // bytes is asked for when it is not 0.
  explicit ConsoleConnection(std::uint16_t port);
  ConsoleConnection(std::uint16_t port, int family, int receiveBuffer = 0);

  // False when nobody listens.
  bool isConnected() const { return m_connected; }

  // Does anybody listen on that IPv4 address of this machine?
  static bool reaches(const char* address, std::uint16_t port);

  void send(const std::string& bytes) const;

  // Receives exactly `count` bytes; fewer when the server closes or nothing comes for ten seconds (a
  // failure).
  std::string receive(std::size_t count) const;

  // Receives until the server closes. A reset ends the result with "(reset)".
  std::string receiveToEnd() const;

  // Receives up to the next prompt and returns what came before it.
  std::string receiveReply() const;

  // Sends a line with its end and returns the reply without the prompt.
  std::string ask(const std::string& line) const;

  // Sends no more.
  void finish() const;

  // Closes; with `reset` the server sees a reset instead of an orderly end.
  void close(bool reset = false);

private:
  bool awaitInput() const;

  FileDescriptor m_socket;
  bool m_connected = false;
};

// What the service's console answers to a line, by a connection of its own.
std::string askConsole(const std::string& line);

// Number of file descriptors that this process has open.
std::size_t openDescriptors();
