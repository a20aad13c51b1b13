#include "poectl/watch.h"

#include "poectl/example_config.h"
#include "poectl/queue.h"
#include "poectl/status_text.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <optional>
#include <poll.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

volatile std::sig_atomic_t interrupted = 0;

void onSignal(int) {
  interrupted = 1;
}

// Lets SIGINT and SIGTERM end the wait instead of the process. They are blocked except inside ppoll, so that
// none is lost between the test of the flag and the wait.
sigset_t catchSignals() {
  struct sigaction action {};
  action.sa_handler = onSignal;
  sigset_t waitMask;
  sigset_t blocked;
  sigemptyset(&blocked);
  for (const int signal : {SIGINT, SIGTERM}) {
    sigaction(signal, &action, nullptr);
    sigaddset(&blocked, signal);
  }
  sigprocmask(SIG_BLOCK, &blocked, &waitMask);
  sigdelset(&waitMask, SIGINT);
  sigdelset(&waitMask, SIGTERM);
  return waitMask;
}

// Shows one message after another: in the place of the one before on a terminal, one block after the other
// elsewhere.
class Display {
public:
  void show(const std::string& text) {
    if (m_terminal) {
      if (m_lines > 0) {
        std::printf("\033[%uA\033[J", m_lines); // up to the start of the last one, and clear from there
      }
      m_lines = static_cast<unsigned>(std::count(text.begin(), text.end(), '\n'));
      std::fputs(text.c_str(), stdout);
    } else {
      std::printf("%s\n", text.c_str());
    }
    std::fflush(stdout);
  }

  // A line that the next message replaces; nothing but on a terminal.
  void note(const char* line) {
    if (m_terminal) {
      show(line);
    }
  }

private:
  const bool m_terminal = isatty(STDOUT_FILENO) != 0;
  unsigned m_lines = 0;
};

class Watch {
public:
  explicit Watch(const WatchOptions& options) : m_options(options), m_waitMask(catchSignals()) {}

  int run() {
    m_display.note("waiting for the service's first status message\n");
    while (interrupted == 0 && !timeIsUp()) {
      if (waitForMessage()) {
        takeMessage();
      }
    }
    if (m_messages == 0) {
      std::fprintf(stderr, "poectl: no status message came on %s: is the service running?\n", QUEUE_TO_MAIN);
      return 1;
    }
    return 0;
  }

private:
  double secondsLeft() const {
    return m_options.seconds - std::chrono::duration<double>(Clock::now() - m_start).count();
  }

  bool timeIsUp() const { return m_options.seconds > 0 && secondsLeft() <= 0; }

  // Waits until there is a message, the time is up or a signal came.
  bool waitForMessage() {
    pollfd queue{m_queue.descriptor(), POLLIN, 0};
    const double wait = m_options.seconds > 0 ? std::max(secondsLeft(), 0.0) : 1.0;
    const timespec limit{static_cast<time_t>(wait),
                         static_cast<long>((wait - static_cast<double>(static_cast<time_t>(wait))) * 1e9)};
    return ppoll(&queue, 1, &limit, &m_waitMask) == 1;
  }

  void takeMessage() {
    PoeStatusMessage message{};
    const std::size_t length = m_queue.receive(&message, sizeof message);
    if (length == 0) {
      return;
    }
    if (length != sizeof message || message.msgId != MSGID_STATUS) {
      std::fprintf(
          stderr,
          "poectl: ignored a message of %zu bytes with id %u: a status message has %zu bytes and id %u\n",
          length, message.msgId, sizeof message, MSGID_STATUS);
      return;
    }
    m_messages++;
    m_display.show(statusText(m_messages, message.status, m_config));
    if (m_options.sendExample && !m_config) {
      sendConfiguration(exampleConfig());
    }
  }

  void sendConfiguration(const PoeConfig& config) {
    const PoeConfigMessage message{MSGID_CONFIG, config};
    sendToService(&message, sizeof message);
    m_config = config;
  }

  const WatchOptions m_options;
  const sigset_t m_waitMask;
  const Clock::time_point m_start = Clock::now();
  StatusQueue m_queue;
  Display m_display;
  unsigned long m_messages = 0;
  std::optional<PoeConfig> m_config;
};

} // namespace

int watch(const WatchOptions& options) {
  return Watch(options).run();
}
