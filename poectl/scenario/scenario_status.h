// The status messages as they come, and the last one before the last step that did something.
#pragma once

#include "poectl/service/status_receiver.h"

#include <chrono>
#include <stdexcept>
#include <string>

// Why the rest of a scenario cannot be played, in one line.
class PlayStopped : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// Borrows the receiver. One thread.
class ScenarioStatus {
public:
  using Clock = std::chrono::steady_clock;

  explicit ScenarioStatus(StatusReceiver& receiver) : m_receiver(receiver) {}

  // Waits for the next message. Throws PlayStopped when none comes for 10 s or a signal to end came.
  void receive();

  // As receive(), at most until `end`. False when none came.
  bool receiveUntil(Clock::time_point end);

  // Something is done now: what has come until here is before it.
  void startStep();

  // Throws PlayStopped when a signal has come.
  void checkInterrupted();

  const PoeStatus& before() const { return m_before; }
  const PoeStatus& now() const { return m_now; }
  bool isNew() const { return m_new; } // now() came after startStep()
  unsigned long count() const { return m_count; }

private:
  bool receiveWithin(std::chrono::milliseconds limit);

  StatusReceiver& m_receiver;
  PoeStatus m_before{};
  PoeStatus m_now{};
  bool m_new = false;
  unsigned long m_count = 0;
};
