#include "poectl/status.h"

#include "poectl/queue.h"
#include "poectl/status_export.h"
#include "poectl/status_text.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <poll.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds PATIENCE{3000}; // the service reports once a second

// SIGINT and SIGTERM as something to poll, so that they end the wait and the queue is removed.
class EndSignals {
public:
  EndSignals() : m_descriptor(block()) {}
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;
  ~EndSignals() { close(m_descriptor); }

  int descriptor() const { return m_descriptor; }

private:
  static int block() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    sigprocmask(SIG_BLOCK, &signals, nullptr);
    return signalfd(-1, &signals, SFD_CLOEXEC);
  }

  const int m_descriptor;
};

// Waits for a status message; others are passed over. False when none came in time or a signal did.
bool receiveStatus(PoeStatusMessage& message) {
  const EndSignals signals;
  StatusQueue queue;
  const Clock::time_point end = Clock::now() + PATIENCE;
  for (;;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd ready[] = {{queue.descriptor(), POLLIN, 0}, {signals.descriptor(), POLLIN, 0}};
    if (left <= 0 || poll(ready, 2, static_cast<int>(left)) <= 0 || ready[1].revents != 0) {
      return false;
    }
    if (queue.receive(&message, sizeof message) == sizeof message && message.msgId == MSGID_STATUS) {
      return true;
    }
  }
}

std::string formatted(const PoeStatus& status, StatusFormat format) {
  switch (format) {
  case StatusFormat::JSON:
    return statusJson(status);
  case StatusFormat::PROMETHEUS:
    return statusPrometheus(status);
  case StatusFormat::TEXT:
    break;
  }
  return statusText(1, status, {});
}

} // namespace

int printStatus(StatusFormat format) {
  PoeStatusMessage message{};
  if (!receiveStatus(message)) {
    std::fprintf(stderr, "poectl: no status message came on %s: is the service running?\n", QUEUE_TO_MAIN);
    return 1;
  }
  std::fputs(formatted(message.status, format).c_str(), stdout);
  return 0;
}
