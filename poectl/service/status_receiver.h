// The service's status messages, as the main process receives them.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "poectl/service/queue.h"

#include <chrono>
#include <functional>
#include <string>

// SIGINT, SIGTERM and SIGHUP as something to poll, from construction on, so that they end a wait and not the
// process. A SIGHUP that the process ignores stays ignored.
class EndSignals {
public:
  EndSignals();
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;
  ~EndSignals();

  // Readable when one of the signals has come.
  int descriptor() const { return m_descriptor; }

private:
  const int m_descriptor;
};

// Owns "/queueToMain" and the end signals for its life. One thread.
class StatusReceiver {
public:
  enum class Event {
    MESSAGE,     // a status message has been taken
    TIME_UP,     // none came in time
    INTERRUPTED, // one of the end signals came; every further wait ends at once
  };
  using Complaint = std::function<void(const std::string& line)>;

  // `complain` is told, in one line, of each message that is no status message; those are passed over.
  // Throws QueueError.
  explicit StatusReceiver(Complaint complain);

  // Waits at most `limit`; 0 only looks. Throws QueueError.
  Event next(std::chrono::milliseconds limit, PoeStatus& status);

  // For those who wait for more than this: readable when next() has something to tell.
  int queueDescriptor() const { return m_queue.descriptor(); }
  int signalDescriptor() const { return m_signals.descriptor(); }

private:
  bool take(PoeStatus& status);

  const Complaint m_complain;
  EndSignals m_signals; // before the queue: no signal may end the process while the queue exists
  StatusQueue m_queue;
};
