#include "poectl/view/live_view.h"

#include "poectl/card/card_link.h"
#include "poectl/card/control_path.h"
#include "poectl/commands/time_limit.h"
#include "poectl/commands/watch_stream.h"
#include "poectl/console/console_reports.h"
#include "poectl/service/status_feed.h"
#include "poectl/status/timestamp.h"
#include "text/text.h"

#include <algorithm>
#include <poll.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds REFRESH{100};
constexpr std::chrono::milliseconds MESSAGE_PERIOD{1000};

// A service that has started anew has forgotten its configuration.
bool endsConfiguration(const StatusEvent& event) {
  return event.kind == EventKind::SERVICE_RESTARTED || event.kind == EventKind::RESUMED;
}

class LiveView {
public:
  explicit LiveView(const WatchOptions& options)
      : m_limit(options.seconds),
        m_feed(options.sendExample, [this](const std::string& line) { m_state.note = line; }),
        m_card(cardControlPath(options.cardControl)) {
    m_feed.receiver().endSignals().beforeForcedEnd(m_screen.abandonment());
  }

  // Returns whether the view ended by a key or has shown a message.
  bool run() {
    while (!m_limit.isOver() && !m_quit) {
      const StatusFeed::Update update = m_feed.next(std::chrono::milliseconds(0));
      if (update.event == StatusReceiver::Event::INTERRUPTED) {
        break;
      }
      takeStatus(update);
      takeConsole();
      takeCard();
      takeKeys();
      m_screen.show(drawView(m_state, m_screen.format()));
      wait();
    }
    return m_quit || m_feed.messages() > 0;
  }

private:
  void takeStatus(const StatusFeed::Update& update) {
    m_state.status = m_feed.status();
    m_state.messages = m_feed.messages();
    m_state.age = m_feed.age();
    for (const StatusEvent& event : update.events) {
      m_state.log(timeOfDay(currentTime()), event);
    }
    if (update.event == StatusReceiver::Event::MESSAGE) {
      m_state.history.add({m_state.status->mainConsumption, m_state.status->mainPower});
      m_lastEntry = Clock::now();
    } else if (m_state.isStale() && Clock::now() - m_lastEntry >= MESSAGE_PERIOD) {
      m_state.history.addGap();
      m_lastEntry += MESSAGE_PERIOD;
    }
    if (std::any_of(update.events.begin(), update.events.end(), endsConfiguration)) {
      m_state.settings = {};
    }
    if (m_configsSent != m_feed.configsSent()) {
      m_configsSent = m_feed.configsSent();
      for (unsigned port = 0; port < POE_PORTS; port++) {
        m_state.settings[port] = settingsOf(m_feed.sentConfig()->port[port]);
      }
    }
  }

  void takeConsole() {
    const ConsoleReports::Update update = m_console.update();
    m_state.faults = update.faults;
    for (const ConsoleReports::Reading& reading : update.readings) {
      m_state.settings[reading.port] = reading.settings;
      m_state.note = text::formatted("port %u: ", reading.port) +
                     (reading.settings ? text::formatted("limit %u W, priority %u, as the chip has them",
                                                         reading.settings->limit, reading.settings->priority)
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
        m_feed.sendExample();
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
    pollfd ready[] = {{m_feed.receiver().queueDescriptor(), POLLIN, 0},
                      {m_feed.receiver().signalDescriptor(), POLLIN, 0},
                      {STDIN_FILENO, POLLIN, 0}};
    poll(ready, std::size(ready), static_cast<int>(m_limit.orLess(REFRESH).count()));
    m_quit |= (ready[2].revents & (POLLHUP | POLLERR)) != 0; // the terminal is gone
  }

  const TimeLimit m_limit;
  ViewState m_state;
  StatusFeed m_feed; // before the screen: it is refused while another main process runs
  CardLink m_card;
  ConsoleReports m_console;
  unsigned long m_configsSent = 0;
  ViewKeys m_keys;
  Clock::time_point m_lastEntry; // of the history
  bool m_quit = false;
  ViewScreen m_screen; // the last, so that the terminal is given back before anything is waited for
};

} // namespace

int runLiveView(const WatchOptions& options) {
  if (LiveView(options).run()) {
    return 0;
  }
  return noMessageCame();
}
