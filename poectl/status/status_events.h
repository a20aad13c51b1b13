// What happens from one status message or snapshot to the next.
#pragma once

#include "poectl/status/snapshot.h"

#include <chrono>
#include <optional>
#include <string>
#include <vector>

enum class EventKind {
  STATE,   // a port's operStatus is another
  COUNTER, // a port's counter has advanced
  CHIP_LOST,
  CHIP_RECOVERED,
  THERMAL_SHUTDOWN,
  THERMAL_SHUTDOWN_OVER,
  BUS_ERROR,
  BUS_ERROR_OVER,
  SERVICE_RESTARTED, // a counter went back: the service counts from 0 again
  STALE,             // no message or snapshot came for too long
  RESUMED,           // the first one after that
};

struct StatusEvent {
  EventKind kind;
  unsigned port = 0;                    // STATE and COUNTER
  unsigned counter = 0;                 // COUNTER: index of STATUS_COUNTER
  std::uint32_t from = 0;               // STATE: operStatus; COUNTER: total
  std::uint32_t to = 0;                 // as `from`
  std::chrono::milliseconds silence{0}; // STALE and RESUMED: since the message before
};

// A status that is older is no longer what the service says; it reports once a second.
constexpr std::chrono::milliseconds STALE_AFTER{2500};

// The same for snapshots that usually come once in `period`: two and a half of them, at least STALE_AFTER.
std::chrono::milliseconds staleAfterPeriod(std::chrono::milliseconds period);

// Compares each status with the one before. One thread.
class EventTracker {
public:
  using Clock = std::chrono::steady_clock;

  // A status is stale after this time without another one.
  explicit EventTracker(std::chrono::milliseconds staleAfter = STALE_AFTER) : m_staleAfter(staleAfter) {}

  // What has changed with this message or snapshot. The first one is compared with a chip that is well; its
  // states and counters are no events.
  std::vector<StatusEvent> message(const PoeStatus& status, Clock::time_point now);

  // STALE, once, when the last message is that old. Nothing before the first message.
  std::optional<StatusEvent> silence(Clock::time_point now);

private:
  std::chrono::milliseconds age(Clock::time_point now) const;

  std::chrono::milliseconds m_staleAfter;
  std::optional<PoeStatus> m_last;
  Clock::time_point m_lastTime;
  bool m_stale = false;
};

// One line without its end: "port 1 overLoadCounter +1, now 3".
std::string eventText(const StatusEvent& event, Snapshot::Source source = Snapshot::Source::QUEUE,
                      const PortNames& names = {});

// "3.2 s"
std::string secondsText(std::chrono::milliseconds time);
