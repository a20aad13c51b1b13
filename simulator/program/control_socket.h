// The control socket: a Unix stream socket, for its user only. A client sends one
// command a line; each reply is its lines and then an empty line.
//
// Use it only on the thread that iterates GLib's default main context.
#pragma once

#include "posix/file_descriptor.h"
#include "simulator/program/control_client.h"

#include <list>
#include <stdexcept>
#include <string>

// Why there can be no socket at a path and what is accepted, in one line.
class ControlSocketError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

class ControlSocket {
public:
  static constexpr std::size_t MAX_CLIENTS = 64; // more than these are turned away

  // A socket at `path` without a listener is replaced, anything else that
  // exists is refused. `answer` gives the lines of a reply, without the empty one.
  // Throws ControlSocketError.
  ControlSocket(const std::string& path, ControlClient::Answer answer);
  // Removes the socket's file.
  ~ControlSocket();
  ControlSocket(const ControlSocket&) = delete;
  ControlSocket& operator=(const ControlSocket&) = delete;

  // The absolute path.
  const std::string& path() const { return m_path; }

private:
  static gboolean onConnection(gint fd, GIOCondition condition, gpointer self);
  static gboolean onRetry(gpointer self);
  bool accept();

  std::string m_path;
  ControlClient::Answer m_answer;
  const FileDescriptor m_fd;
  guint m_watch;
  std::list<ControlClient> m_clients;
};
