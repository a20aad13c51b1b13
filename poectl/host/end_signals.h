// The signals that end poectl.
#pragma once

#include "posix/file_descriptor.h"

#include <functional>
#include <initializer_list>
#include <mutex>
#include <termios.h>
#include <thread>
#include <vector>

// Turns signals into something to poll, from construction on, so that they end a wait and not the process. A
// SIGHUP that the process ignores stays ignored. When the object still exists 0.8 s after a signal, because
// nobody takes the process's output for instance, a thread of its own ends the process with status 1; the
// terminal then has its settings from before, and the functions of beforeForcedEnd() have been called.
class EndSignals {
public:
  explicit EndSignals(std::initializer_list<int> signals);
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;
  ~EndSignals();

  // Readable when one of the signals has come, and from then on.
  int descriptor() const { return m_signals.get(); }

  // `cleanUp` runs on the other thread while the one that has made this object may be anywhere: it takes no
  // locks, does not wait, and must stay callable as long as this object exists.
  void beforeForcedEnd(std::function<void()> cleanUp);

private:
  void watch();
  [[noreturn]] void forceEnd();

  const FileDescriptor m_signals;
  const FileDescriptor m_done; // an eventfd
  termios m_settings{};
  const bool m_terminal;
  std::mutex m_mutex; // guards m_cleanUps
  std::vector<std::function<void()>> m_cleanUps;
  std::thread m_thread; // uses all others
};
