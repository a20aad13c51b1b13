// One client of the control socket. A client's next command is taken only after the client has received the
// whole reply to the last one. A client that does not read therefore costs at most one reply and one line of
// memory.
//
// Use it only on the thread that iterates GLib's default main context.
#pragma once

#include "posix/file_descriptor.h"

#include <glib-unix.h>

#include <functional>
#include <string>
#include <utility>

class ControlClient {
public:
  // The reply to a line, which is without its end; has the lines' ends.
  using Answer = std::function<std::string(const std::string& line)>;
  static constexpr std::size_t MAX_LINE = 4096; // without its end

  // Takes over `fd`, which does not block.
  ControlClient(int fd, Answer answer);
  ~ControlClient();
  ControlClient(const ControlClient&) = delete;
  ControlClient& operator=(const ControlClient&) = delete;

  // `over` is called when the client has gone or sent a line that is too long; it may
  // destroy the client. Set it before the main context is iterated.
  void onOver(std::function<void()> over) { m_over = std::move(over); }

private:
  static gboolean onReady(gint fd, GIOCondition condition, gpointer self);
  void watch(GIOCondition condition);
  bool serve();
  bool takeLine();
  bool receive();
  bool send();

  const FileDescriptor m_fd;
  guint m_watch = 0;
  GIOCondition m_awaited{};
  bool m_last = false; // nothing is answered any more; ends when the reply is sent
  Answer m_answer;
  std::function<void()> m_over;
  std::string m_received; // not answered yet
  std::string m_reply;    // not sent yet
};
