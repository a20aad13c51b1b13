// Takes note of the lines that the file of --log has not taken. The library in the command, which writes that
// file, reports them to a datagram socket.
//
// Use it only on the thread that iterates GLib's default main context.
#pragma once

#include "posix/file_descriptor.h"

#include <glib-unix.h>

#include <string>

class LogLoss {
public:
  // Makes the socket at `socketPath`, a new path. The first loss is one line on standard error, with the name
  // `logFile`. Throws std::system_error.
  LogLoss(const std::string& socketPath, std::string logFile);
  ~LogLoss();
  LogLoss(const LogLoss&) = delete;
  LogLoss& operator=(const LogLoss&) = delete;

  // Whether a line was lost until now.
  bool any();

private:
  static gboolean onReport(gint fd, GIOCondition condition, gpointer self);

  const std::string m_logFile;
  const FileDescriptor m_fd;
  guint m_watch = 0;
  bool m_any = false;
};
