// The service's status messages, as the main process receives them.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "poectl/host/end_signals.h"
#include "poectl/service/queue.h"

#include <chrono>
#include <functional>
#include <string>

// Owns "/queueToMain" and the end signals (SIGINT, SIGTERM, SIGQUIT and SIGHUP) as long as it exists. One
// thread.
class StatusReceiver {
public:
  enum class Event {
    MESSAGE,     // a status message has been taken
    TIME_UP,     // none came in time
    INTERRUPTED, // one of the end signals came; every further wait ends at once
  };
  using Warn = std::function<void(const std::string& line)>;

  // `warn` gets one line for each message that is no status message; those are passed over.
  // Throws QueueError.
  explicit StatusReceiver(Warn warn);

  // Waits at most `limit`; 0 only looks. Throws QueueError.
  Event next(std::chrono::milliseconds limit, PoeStatus& status);

  // For those who wait for more than this: readable when next() has something to tell.
  int queueDescriptor() const { return m_queue.descriptor(); }
  int signalDescriptor() const { return m_signals.descriptor(); }
  EndSignals& endSignals() { return m_signals; }

private:
  bool take(PoeStatus& status);

  const Warn m_warn;
  EndSignals m_signals; // before the queue: no signal may end the process while the queue exists
  StatusQueue m_queue;
};
