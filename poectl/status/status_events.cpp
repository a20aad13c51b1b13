#include "poectl/status/status_events.h"

#include "poectl/status/status_field.h"
#include "poectl/status/status_text.h"
#include "text/text.h"

#include <algorithm>

namespace {

using Events = std::vector<StatusEvent>;

// The counters run modulo 2^32: a step of more than half of that is a step back.
bool wentBack(std::uint32_t from, std::uint32_t to) {
  return to - from > UINT32_MAX / 2;
}

bool hasRestarted(const PoeStatus& before, const PoeStatus& status) {
  for (unsigned port = 0; port < POE_PORTS; port++) {
    for (const StatusField& counter : STATUS_COUNTER) {
      if (wentBack(before.port[port].*counter.member, status.port[port].*counter.member)) {
        return true;
      }
    }
  }
  return false;
}

void startCountersAtZero(PoeStatus& status) {
  for (PoePortStatus& port : status.port) {
    for (const StatusField& counter : STATUS_COUNTER) {
      port.*counter.member = 0;
    }
  }
}

void addFlag(Events& events, bool before, bool now, EventKind rises, EventKind falls) {
  if (before != now) {
    events.push_back({now ? rises : falls});
  }
}

void addChip(Events& events, const PoeStatus& before, const PoeStatus& status) {
  addFlag(events, before.mainOperStatus == MainOperStatus::UNREACHABLE,
          status.mainOperStatus == MainOperStatus::UNREACHABLE, EventKind::CHIP_LOST,
          EventKind::CHIP_RECOVERED);
  addFlag(events, before.devError != 0, status.devError != 0, EventKind::BUS_ERROR,
          EventKind::BUS_ERROR_OVER);
  addFlag(events, before.thermalShutdown != 0, status.thermalShutdown != 0, EventKind::THERMAL_SHUTDOWN,
          EventKind::THERMAL_SHUTDOWN_OVER);
}

void addPort(Events& events, unsigned port, const PoePortStatus& before, const PoePortStatus& status) {
  if (before.operStatus != status.operStatus) {
    events.push_back({EventKind::STATE, port, 0, before.operStatus, status.operStatus});
  }
  for (unsigned counter = 0; counter < STATUS_COUNTERS; counter++) {
    const std::uint32_t from = before.*STATUS_COUNTER[counter].member;
    const std::uint32_t to = status.*STATUS_COUNTER[counter].member;
    if (from != to) {
      events.push_back({EventKind::COUNTER, port, counter, from, to});
    }
  }
}

// What the first message is compared with.
PoeStatus wellAs(const PoeStatus& status) {
  PoeStatus well = status;
  well.mainOperStatus = MainOperStatus::RUNNING;
  well.devError = 0;
  well.thermalShutdown = 0;
  return well;
}

std::string counterText(const StatusEvent& event, const PortNames& names) {
  return portLabel(event.port, names) + " " + STATUS_COUNTER[event.counter].name + " +" +
         std::to_string(event.to - event.from) + ", now " + std::to_string(event.to);
}

} // namespace

std::chrono::milliseconds staleAfterPeriod(std::chrono::milliseconds period) {
  return std::max(STALE_AFTER, period * 5 / 2);
}

std::vector<StatusEvent> EventTracker::message(const PoeStatus& status, Clock::time_point now) {
  Events events;
  PoeStatus before = m_last ? *m_last : wellAs(status);
  if (m_stale) {
    events.push_back({EventKind::RESUMED, 0, 0, 0, 0, age(now)});
  }
  if (hasRestarted(before, status)) {
    events.push_back({EventKind::SERVICE_RESTARTED});
    startCountersAtZero(before);
  }
  addChip(events, before, status);
  for (unsigned port = 0; port < POE_PORTS; port++) {
    addPort(events, port, before.port[port], status.port[port]);
  }
  m_last = status;
  m_lastTime = now;
  m_stale = false;
  return events;
}

std::optional<StatusEvent> EventTracker::silence(Clock::time_point now) {
  if (!m_last || m_stale || age(now) < m_staleAfter) {
    return std::nullopt;
  }
  m_stale = true;
  return StatusEvent{EventKind::STALE, 0, 0, 0, 0, age(now)};
}

std::chrono::milliseconds EventTracker::age(Clock::time_point now) const {
  return std::chrono::duration_cast<std::chrono::milliseconds>(now - m_lastTime);
}

std::string eventText(const StatusEvent& event, Snapshot::Source source, const PortNames& names) {
  const char* const what = source == Snapshot::Source::QUEUE ? "message" : "snapshot";
  switch (event.kind) {
  case EventKind::STATE:
    return portLabel(event.port, names) + " " + operStatusWord(event.from) + " -> " +
           operStatusWord(event.to);
  case EventKind::COUNTER:
    return counterText(event, names);
  case EventKind::CHIP_LOST:
    return "chip lost";
  case EventKind::CHIP_RECOVERED:
    return "chip recovered";
  case EventKind::THERMAL_SHUTDOWN:
    return "thermal shutdown";
  case EventKind::THERMAL_SHUTDOWN_OVER:
    return "thermal shutdown is over";
  case EventKind::BUS_ERROR:
    return "bus error";
  case EventKind::BUS_ERROR_OVER:
    return "bus error is over";
  case EventKind::SERVICE_RESTARTED:
    return "service restarted: it counts from 0 again";
  case EventKind::STALE:
    return std::string("STALE: no ") + what + " for " + secondsText(event.silence);
  case EventKind::RESUMED:
    return std::string(what) + "s are back after " + secondsText(event.silence);
  }
  return "?";
}

std::string secondsText(std::chrono::milliseconds time) {
  return text::formatted("%.1f s", static_cast<double>(time.count()) / 1000);
}
