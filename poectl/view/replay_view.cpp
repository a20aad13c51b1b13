#include "poectl/view/replay_view.h"

#include "poectl/host/end_signals.h"
#include "poectl/view/replay.h"
#include "poectl/view/view_screen.h"

#include <algorithm>
#include <csignal>
#include <iterator>
#include <poll.h>
#include <unistd.h>

namespace {

constexpr std::chrono::milliseconds REFRESH{100};

class ReplayView {
public:
  explicit ReplayView(const ReplayOptions& options)
      : m_replay(options.file, warnOf(options), m_state), m_signals{SIGINT, SIGTERM, SIGQUIT, SIGHUP} {
    m_signals.beforeForcedEnd(m_screen.abandonment());
  }

  // Returns what damage was met; empty: none.
  std::string run() {
    while (!m_quit) {
      m_replay.update(Replay::Clock::now());
      if (!m_replay.damage().empty()) {
        m_state.note = m_replay.damage();
      }
      m_screen.show(drawView(m_state, m_screen.format()));
      wait();
      takeKeys();
    }
    return m_replay.damage();
  }

private:
  RecordReader::Warn warnOf(const ReplayOptions& options) {
    if (!options.skipDamaged) {
      return {};
    }
    return [this](const std::string& line) { m_state.note = line; };
  }

  void takeKeys() {
    while (const auto key = m_screen.nextKey()) {
      const KeyEffect effect = m_keys.press(*key, m_state);
      m_quit |= effect.quit;
      m_replay.press(effect.replay);
      m_state.scrolledBack = std::min(m_state.scrolledBack, mostScrolledBack(m_state, m_screen.format()));
    }
  }

  void wait() {
    pollfd ready[] = {{m_signals.descriptor(), POLLIN, 0}, {STDIN_FILENO, POLLIN, 0}};
    poll(ready, std::size(ready), static_cast<int>(REFRESH.count()));
    m_quit |= ready[0].revents != 0 || (ready[1].revents & (POLLHUP | POLLERR)) != 0;
  }

  ViewState m_state;
  ViewKeys m_keys;
  Replay m_replay; // before the screen: a file that is refused shows no view
  EndSignals m_signals;
  bool m_quit = false;
  ViewScreen m_screen; // the last, so that the terminal is given back first
};

} // namespace

int runReplayView(const ReplayOptions& options) {
  const std::string damage = ReplayView(options).run();
  if (!damage.empty()) {
    throw InputError(damage);
  }
  return 0;
}
