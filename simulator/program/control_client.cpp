#include "simulator/program/control_client.h"

#include <array>
#include <cerrno>
#include <utility>

#include <sys/socket.h>

ControlClient::ControlClient(int fd, Answer answer) : m_fd(fd), m_answer(std::move(answer)) {
  watch(G_IO_IN);
}

ControlClient::~ControlClient() {
  g_source_remove(m_watch);
}

gboolean ControlClient::onReady(gint /*fd*/, GIOCondition /*condition*/, gpointer data) {
  auto* self = static_cast<ControlClient*>(data);
  if (!self->serve()) {
    const std::function<void()> over = self->m_over; // it destroys the one that we have
    over();
  }
  return G_SOURCE_CONTINUE; // of a source that has been removed, this is ignored
}

void ControlClient::watch(GIOCondition condition) {
  if (condition == m_awaited) {
    return;
  }
  if (m_watch != 0) {
    g_source_remove(m_watch);
  }
  m_awaited = condition;
  m_watch = g_unix_fd_add(m_fd.get(), condition, onReady, this);
}

// One step of the conversation. False: it is over.
bool ControlClient::serve() {
  if (m_reply.empty() && !receive()) {
    return false;
  }
  while (!m_reply.empty() || takeLine()) {
    if (!send()) {
      return false;
    }
    if (!m_reply.empty()) {
      watch(G_IO_OUT);
      return true;
    }
    if (m_last) {
      return false;
    }
  }
  watch(G_IO_IN);
  return true;
}

// Makes the reply to the next line. False: there is no whole line.
bool ControlClient::takeLine() {
  const std::size_t end = m_received.find('\n');
  if (end > MAX_LINE && m_received.size() > MAX_LINE) {
    m_reply = "error: the line is too long; accepted are " + std::to_string(MAX_LINE) + " characters\n\n";
    m_last = true;
    return true;
  }
  if (end == std::string::npos) {
    return false;
  }
  m_reply = m_answer(m_received.substr(0, end));
  m_received.erase(0, end + 1);
  return true;
}

bool ControlClient::receive() {
  std::array<char, MAX_LINE> part{};
  const ssize_t got = recv(m_fd.get(), part.data(), part.size(), 0);
  if (got > 0) {
    m_received.append(part.data(), static_cast<std::size_t>(got));
    return true;
  }
  return got < 0 && (errno == EAGAIN || errno == EINTR);
}

bool ControlClient::send() {
  const ssize_t sent = ::send(m_fd.get(), m_reply.data(), m_reply.size(), MSG_NOSIGNAL);
  if (sent >= 0) {
    m_reply.erase(0, static_cast<std::size_t>(sent));
    return true;
  }
  return errno == EAGAIN || errno == EINTR;
}
