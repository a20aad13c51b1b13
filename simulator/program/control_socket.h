// The control socket: a Unix stream socket, for its user only. A client sends one
// command a line; each reply is its lines and then an empty line.
//
// Use it only on the thread that iterates GLib's default main context.
#pragma once

#include "simulator/program/control_client.h"
#include "simulator/socket/unix_listener.h"

#include <list>
#include <string>

class ControlSocket {
public:
  static constexpr std::size_t MAX_CLIENTS = 64; // more than these are turned away

  // The socket's file is there until the end. `answer` gives the lines of a reply, without the empty one.
  // Throws ListenerError.
  ControlSocket(const std::string& path, ControlClient::Answer answer);
  ~ControlSocket();
  ControlSocket(const ControlSocket&) = delete;
  ControlSocket& operator=(const ControlSocket&) = delete;

  // The absolute path.
  const std::string& path() const { return m_listener.path(); }

private:
  static gboolean onConnection(gint fd, GIOCondition condition, gpointer self);
  static gboolean onRetry(gpointer self);
  bool accept();

  UnixListener m_listener;
  ControlClient::Answer m_answer;
  guint m_watch;
  std::list<ControlClient> m_clients;
};
