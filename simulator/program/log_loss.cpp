#include "simulator/program/log_loss.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <system_error>
#include <utility>

#include <sys/socket.h>
#include <sys/un.h>

LogLoss::LogLoss(const std::string& socketPath, std::string logFile)
    : m_logFile(std::move(logFile)), m_fd(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)) {
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::strncpy(address.sun_path, socketPath.c_str(), sizeof address.sun_path - 1);
  if (!m_fd.isOpen() || bind(m_fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
    throw std::system_error(errno, std::generic_category(), socketPath);
  }
  m_watch = g_unix_fd_add(m_fd.get(), G_IO_IN, onReport, this);
}

LogLoss::~LogLoss() {
  g_source_remove(m_watch);
}

gboolean LogLoss::onReport(gint /*fd*/, GIOCondition /*condition*/, gpointer self) {
  static_cast<LogLoss*>(self)->any();
  return G_SOURCE_CONTINUE;
}

bool LogLoss::any() {
  int error = 0; // a report is the number of the error
  while (recv(m_fd.get(), &error, sizeof error, 0) == static_cast<ssize_t>(sizeof error)) {
    if (!m_any) {
      std::fprintf(stderr, "poe_card: --log: %s does not take every line: %s\n", m_logFile.c_str(),
                   std::strerror(error));
    }
    m_any = true;
  }
  return m_any;
}
