#include "poectl/view/live_view.h"

#include "poectl/card/card_link.h"
#include "poectl/commands/watch_stream.h"
#include "poectl/service/running_settings.h"
#include "poectl/service/status_feed.h"
#include "poectl/service/time_limit.h"
#include "poectl/status/timestamp.h"

#include <algorithm>
#include <poll.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds REFRESH{100};
constexpr std::chrono::milliseconds MESSAGE_PERIOD{1000};

class LiveView {
public:
  explicit LiveView(const WatchOptions& options)
      : m_limit(options.seconds),
        m_feed(options.sendExample, [this](const std::string& line) { m_state.note = line; }),
        m_card(cardControlPath(options.cardControl)) {}

  // Returns whether the view ended by a key or has shown a message.
  bool run() {
    while (!m_limit.isOver() && !m_quit) {
      const StatusFeed::News news = m_feed.next(std::chrono::milliseconds(0));
      if (news.event == StatusReceiver::Event::INTERRUPTED) {
        break;
      }
      takeStatus(news);
      takeCard();
      takeKeys();
      m_screen.show(drawView(m_state, m_screen.format()));
      wait();
    }
    return m_quit || m_feed.messages() > 0;
  }

private:
  void takeStatus(const StatusFeed::News& news) {
    m_state.status = m_feed.status();
    m_state.messages = m_feed.messages();
    m_state.age = m_feed.age();
    for (const StatusEvent& event : news.events) {
      m_state.log(timeOfDay(currentTime()), event);
    }
    if (news.event == StatusReceiver::Event::MESSAGE) {
      m_state.history.add({m_state.status->mainConsumption, m_state.status->mainPower});
      m_lastEntry = Clock::now();
    } else if (m_state.isStale() && Clock::now() - m_lastEntry >= MESSAGE_PERIOD) {
      m_state.history.addGap();
      m_lastEntry += MESSAGE_PERIOD;
    }
    m_state.settings = m_console.settings();
    for (unsigned port = 0; port < POE_PORTS && m_feed.sentConfig(); port++) {
      if (!m_state.settings[port]) {
        m_state.settings[port] = settingsOf(m_feed.sentConfig()->port[port]);
      }
    }
  }

  void takeCard() {
    const CardLink::News news = m_card.news();
    if (news.isCurrent || !news.state) { // else the keys know better
      m_state.card = news.state;
    }
    if (!news.answer.empty()) {
      m_state.note = news.answer;
    }
  }

  void takeKeys() {
    while (const auto key = m_screen.nextKey()) {
      const KeyEffect effect = m_keys.press(*key, m_state);
      m_quit |= effect.quit;
      if (effect.sendExample) {
        m_feed.sendExample();
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
  RunningSettings m_console;
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
