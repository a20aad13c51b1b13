#include "poectl/feed/console_feed.h"

#include "text/text.h"

#include <algorithm>
#include <csignal>
#include <poll.h>
#include <sys/eventfd.h>
#include <utility>

ConsoleFeed::ConsoleFeed(SnapshotReports reports, std::chrono::milliseconds period, Warn warn)
    : SnapshotFeed(period, staleAfterPeriod(period)), m_reports(reports), m_warn(std::move(warn)),
      m_arrived(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)), m_signals({SIGINT, SIGTERM, SIGQUIT, SIGHUP}),
      m_worker([this] { work(); }, period) {}

void ConsoleFeed::work() {
  std::optional<Snapshot> snapshot;
  std::string error;
  try {
    ConsoleWait wait;
    wait.stop = m_worker.stopDescriptor();
    snapshot = takeSnapshot(m_reports, wait);
  } catch (const ConsoleError& failure) {
    error = failure.what();
  }
  const std::lock_guard lock(m_mutex);
  m_error = error;
  if (snapshot) {
    m_taken = std::move(snapshot);
  }
  eventfd_write(m_arrived.get(), 1);
}

SnapshotFeed::Event ConsoleFeed::receive(std::chrono::milliseconds limit, Snapshot& snapshot) {
  const Clock::time_point end = Clock::now() + limit;
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
    pollfd ready[] = {{m_arrived.get(), POLLIN, 0}, {m_signals.descriptor(), POLLIN, 0}};
    poll(ready, 2, static_cast<int>(std::max(left.count(), std::int64_t{0})));
    if (ready[1].revents != 0) {
      return Event::INTERRUPTED; // the signal stays pending
    }
    if (ready[0].revents != 0 && take(snapshot)) {
      return Event::SNAPSHOT;
    }
    if (left.count() <= 0) {
      return Event::TIME_UP;
    }
  }
}

// What the worker has left. False when that is no snapshot but a failure.
bool ConsoleFeed::take(Snapshot& snapshot) {
  eventfd_t count = 0;
  eventfd_read(m_arrived.get(), &count);
  std::optional<Snapshot> taken;
  std::string error;
  {
    const std::lock_guard lock(m_mutex);
    taken = std::exchange(m_taken, std::nullopt);
    error = m_error;
  }
  if (!error.empty() && error != m_warned) {
    m_warn(error);
  }
  m_warned = error;
  if (taken) {
    snapshot = *taken;
  }
  return taken.has_value();
}

bool ConsoleFeed::complete(Snapshot& /*snapshot*/, const std::vector<StatusEvent>& /*events*/) {
  return m_reports == SnapshotReports::ALL;
}

std::string ConsoleFeed::origin() const {
  const std::string cost = m_reports == SnapshotReports::ALL
                               ? text::formatted("%u transfers a snapshot", SNAPSHOT_TRANSFERS)
                               : "no transfers";
  return text::formatted("%s: %s, each %g s", sourceWord(source()), cost.c_str(),
                         static_cast<double>(period().count()) / 1000);
}

std::string ConsoleFeed::sendExample() {
  return SENDS_NOTHING;
}

std::string ConsoleFeed::nothingCame() const {
  return "no snapshot came from the console: is the service running?";
}
