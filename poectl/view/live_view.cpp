#include "poectl/view/live_view.h"

#include "poectl/card/card_link.h"
#include "poectl/card/control_path.h"
#include "poectl/console/console_reports.h"
#include "poectl/host/time_limit.h"
#include "poectl/record/record_writer.h"
#include "poectl/status/timestamp.h"
#include "text/text.h"

#include <algorithm>
#include <cstdio>
#include <poll.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds REFRESH{100};

class LiveView {
public:
  explicit LiveView(const WatchOptions& options)
      : m_limit(options.seconds),
        m_record(openRecord(options.record, [this](const std::string& line) { m_state.note = line; })),
        m_feed(openFeed(options.source, options.sendExample,
                        [this](const std::string& line) { m_state.note = line; })),
        m_card(cardControlPath(options.cardControl)) {
    m_feed->endSignals().beforeForcedEnd(m_screen.abandonment());
    m_state.source = m_feed->source();
    m_state.origin = m_feed->origin();
    m_state.mayUseBus = !options.source.noBus;
    m_state.staleAfter = m_feed->staleAfter();
  }

  // Returns nothing when the view ended by a key or has shown a snapshot, and every snapshot is recorded that
  // should be; else what is missing, in one line.
  std::string run() {
    while (!m_limit.isOver() && !m_quit) {
      const SnapshotFeed::Update update = m_feed->next(std::chrono::milliseconds(0));
      if (update.event == SnapshotFeed::Event::INTERRUPTED) {
        break;
      }
      takeSnapshot(update);
      takeConsole();
      takeCard();
      takeKeys();
      m_screen.show(drawView(m_state, m_screen.format()));
      wait();
    }
    if (m_record && !m_record->isComplete()) {
      return "the record lacks snapshots that could not be written";
    }
    return m_quit || m_feed->count() > 0 ? "" : m_feed->nothingCame();
  }

private:
  void takeSnapshot(const SnapshotFeed::Update& update) {
    if (isRestart(update.events)) {
      m_state.settings = {};
    }
    if (update.hasNewSettings) {
      m_state.settings = m_feed->last()->details;
    }
    m_state.age = m_feed->age();
    if (update.event == SnapshotFeed::Event::SNAPSHOT) {
      m_state.show(*m_feed->last());
      if (m_record) {
        m_record->write(*m_feed->last());
      }
      m_lastEntry = Clock::now();
    } else if (m_state.isStale() && Clock::now() - m_lastEntry >= m_feed->period()) {
      m_state.addGap();
      m_lastEntry += m_feed->period();
    }
    for (const StatusEvent& event : update.events) {
      m_state.log(timeOfDay(currentTime()), event);
    }
  }

  void takeConsole() {
    const ConsoleReports::Update update = m_console.update();
    m_state.faults = update.faults;
    for (const ConsoleReports::Reading& reading : update.readings) {
      m_state.settings[reading.port] = reading.settings.value_or(PortDetails());
      m_state.note =
          text::formatted("port %u: ", reading.port) +
          (reading.settings ? text::formatted("limit %u W, priority %u, as the chip has them",
                                              *reading.settings->limitW, *reading.settings->priority)
                            : reading.error);
    }
  }

  void takeCard() {
    const CardLink::Update update = m_card.update();
    if (update.isCurrent || !update.state) { // else the keys know better
      m_state.card = update.state;
    }
    if (!update.answer.empty()) {
      m_state.note = update.answer;
    }
  }

  void takeKeys() {
    while (const auto key = m_screen.nextKey()) {
      const KeyEffect effect = m_keys.press(*key, m_state);
      m_quit |= effect.quit;
      if (effect.sendExample) {
        const std::string refusal = m_feed->sendExample();
        m_state.note = refusal.empty() ? m_state.note : refusal;
      }
      if (effect.readSettings) {
        m_console.readSettings(m_state.port);
      }
      if (!effect.cardCommand.empty()) {
        m_card.send(effect.cardCommand);
      }
      m_state.scrolledBack = std::min(m_state.scrolledBack, mostScrolledBack(m_state, m_screen.format()));
    }
  }

  // For a message, a signal or a key, but not for long: ages and the card change without one.
  void wait() {
    pollfd ready[] = {{m_feed->descriptor(), POLLIN, 0},
                      {m_feed->endSignals().descriptor(), POLLIN, 0},
                      {STDIN_FILENO, POLLIN, 0}};
    poll(ready, std::size(ready), static_cast<int>(m_limit.orLess(REFRESH).count()));
    m_quit |= (ready[2].revents & (POLLHUP | POLLERR)) != 0; // the terminal is gone
  }

  const TimeLimit m_limit;
  ViewState m_state;
  const std::unique_ptr<RecordWriter> m_record; // before the feed: it may be refused
  const std::unique_ptr<SnapshotFeed> m_feed;   // before the screen: it may be refused
  CardLink m_card;
  ConsoleReports m_console;
  ViewKeys m_keys;
  Clock::time_point m_lastEntry; // of the history
  bool m_quit = false;
  ViewScreen m_screen; // the last, so that the terminal is given back before anything is waited for
};

} // namespace

int runLiveView(const WatchOptions& options) {
  const std::string reason = LiveView(options).run();
  if (reason.empty()) {
    return 0;
  }
  std::fprintf(stderr, "poectl: %s\n", reason.c_str());
  return 1;
}
