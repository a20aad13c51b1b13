#include "poectl/scenario/scenario_status.h"

#include <algorithm>

namespace {

constexpr std::chrono::milliseconds SILENCE{10000}; // the service reports once a second

} // namespace

void ScenarioStatus::receive() {
  if (!receiveWithin(SILENCE)) {
    throw PlayStopped(std::string("no status message came on ") + QUEUE_TO_MAIN + " for " +
                      std::to_string(SILENCE.count() / 1000) + " s: is the service running?");
  }
}

bool ScenarioStatus::receiveUntil(Clock::time_point end) {
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
  return receiveWithin(std::max(left, std::chrono::milliseconds{0}));
}

void ScenarioStatus::startStep() {
  for (long old = 0; old < STATUS_QUEUE_MESSAGES && receiveWithin(std::chrono::milliseconds{0}); old++) {
  } // what comes after those has been sent since
  m_before = m_now;
  m_new = false;
}

void ScenarioStatus::checkInterrupted() {
  if (m_receiver.next(std::chrono::milliseconds{0}, m_now) == StatusReceiver::Event::INTERRUPTED) {
    throw PlayStopped("interrupted by a signal");
  }
}

bool ScenarioStatus::receiveWithin(std::chrono::milliseconds limit) {
  const StatusReceiver::Event event = m_receiver.next(limit, m_now);
  if (event == StatusReceiver::Event::INTERRUPTED) {
    throw PlayStopped("interrupted by a signal");
  }
  if (event != StatusReceiver::Event::MESSAGE) {
    return false;
  }
  m_new = true;
  m_count++;
  return true;
}
