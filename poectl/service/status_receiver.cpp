#include "poectl/service/status_receiver.h"

#include <algorithm>
#include <csignal>
#include <poll.h>

namespace {

using Clock = std::chrono::steady_clock;

} // namespace

StatusReceiver::StatusReceiver(Warn warn)
    : m_warn(std::move(warn)), m_signals({SIGINT, SIGTERM, SIGQUIT, SIGHUP}) {
  m_signals.beforeForcedEnd([] { removeQueue(QUEUE_TO_MAIN); });
}

StatusReceiver::Event StatusReceiver::next(std::chrono::milliseconds limit, PoeStatus& status) {
  const Clock::time_point end = Clock::now() + limit;
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    pollfd ready[] = {{m_queue.descriptor(), POLLIN, 0}, {m_signals.descriptor(), POLLIN, 0}};
    const int count = poll(ready, 2, static_cast<int>(std::max(left.count(), std::int64_t{0})));
    if (count > 0 && ready[1].revents != 0) {
      return Event::INTERRUPTED; // the signal stays pending
    }
    if (count > 0 && take(status)) {
      return Event::MESSAGE;
    }
    if (left.count() <= 0) {
      return Event::TIME_UP;
    }
  }
}

// Takes one message from the queue. False when there was none, or another than a status message.
bool StatusReceiver::take(PoeStatus& status) {
  PoeStatusMessage message{};
  const std::size_t length = m_queue.receive(&message, sizeof message);
  if (length == 0) {
    return false;
  }
  if (length != sizeof message || message.msgId != MSGID_STATUS) {
    m_warn("ignored a message of " + std::to_string(length) + " bytes with id " +
           std::to_string(message.msgId) + ": a status message has " + std::to_string(sizeof message) +
           " bytes and id " + std::to_string(MSGID_STATUS));
    return false;
  }
  status = message.status;
  return true;
}
