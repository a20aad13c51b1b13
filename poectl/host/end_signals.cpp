#include "poectl/host/end_signals.h"

#include "poectl/host/periodic_worker.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

constexpr int HALF_OF_THE_TIME = 400; // ms: "ends within a second" has to hold on a busy machine too
constexpr int FOR_EVER = -1;
constexpr int FORCED_STATUS = 1;

int blockedSignals(std::initializer_list<int> wanted) {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : wanted) {
    struct sigaction action {};
    sigaction(signal, nullptr, &action);
    if (signal != SIGHUP || action.sa_handler != SIG_IGN) { // nohup ignores it, which blocking would undo
      sigaddset(&signals, signal);
    }
  }
  pthread_sigmask(SIG_BLOCK, &signals, nullptr);
  return signalfd(-1, &signals, SFD_CLOEXEC);
}

// Without these descriptors the thread would never end.
int opened(int descriptor) {
  if (descriptor < 0) {
    throw std::system_error(errno, std::generic_category(), "no descriptor to wait for signals");
  }
  return descriptor;
}

// False when the time is up.
bool becomesReadable(int descriptor, int timeout) {
  pollfd ready{descriptor, POLLIN, 0};
  int count = 0;
  while ((count = poll(&ready, 1, timeout)) < 0 && errno == EINTR) {
  }
  return count > 0;
}

// Ctrl-S may be all that holds the output. Linux starts a terminal again when it loses IXON. True when it had
// it: then the terminal needs it back, but not before the view, which goes on now, has restored its settings.
bool undoControlS() {
  termios settings{};
  if (tcgetattr(STDOUT_FILENO, &settings) != 0 || (settings.c_iflag & IXON) == 0) {
    return false;
  }
  settings.c_iflag &= ~static_cast<tcflag_t>(IXON);
  return tcsetattr(STDOUT_FILENO, TCSANOW, &settings) == 0;
}

void allowControlS() {
  termios settings{};
  if (tcgetattr(STDOUT_FILENO, &settings) == 0) {
    settings.c_iflag |= IXON;
    tcsetattr(STDOUT_FILENO, TCSANOW, &settings);
  }
}

} // namespace

EndSignals::EndSignals(std::initializer_list<int> signals)
    : m_signals(opened(blockedSignals(signals))), m_done(opened(eventfd(0, EFD_CLOEXEC))),
      m_terminal(tcgetattr(STDIN_FILENO, &m_settings) == 0) {
  m_thread = threadWithoutSignals([this] { watch(); });
}

EndSignals::~EndSignals() {
  eventfd_write(m_done.get(), 1);
  m_thread.join();
  if (m_needsControlS) {
    allowControlS();
  }
}

void EndSignals::beforeForcedEnd(std::function<void()> cleanUp) {
  const std::lock_guard lock(m_mutex);
  m_cleanUps.push_back(std::move(cleanUp));
}

void EndSignals::watch() {
  pollfd ready[] = {{m_signals.get(), POLLIN, 0}, {m_done.get(), POLLIN, 0}};
  while (poll(ready, 2, FOR_EVER) < 0) {
  }
  if (ready[1].revents != 0 || becomesReadable(m_done.get(), HALF_OF_THE_TIME)) {
    return;
  }
  m_needsControlS = undoControlS();
  if (!becomesReadable(m_done.get(), HALF_OF_THE_TIME)) {
    forceEnd();
  }
}

void EndSignals::forceEnd() {
  const std::lock_guard lock(m_mutex);
  for (const auto& cleanUp : m_cleanUps) {
    cleanUp();
  }
  if (m_needsControlS) {
    allowControlS();
  }
  if (m_terminal) {
    tcsetattr(STDIN_FILENO, TCSANOW, &m_settings);
  }
  // Not _exit: under ThreadSanitizer it waits for the output that is stuck.
  syscall(SYS_exit_group, FORCED_STATUS);
  std::abort(); // never reached
}
