// The signals that end poectl.
#pragma once

#include "posix/file_descriptor.h"

#include <functional>
#include <initializer_list>
#include <mutex>
#include <termios.h>
#include <thread>
#include <vector>

// Turns signals into a descriptor to poll. From construction on, they end a wait and not the process. A
// SIGHUP that the process ignores stays ignored.
//
// The process may hang, for instance because nobody reads its output. If the object still exists 0.8 s after
// a signal, a thread of its own calls the functions of beforeForcedEnd(), restores the terminal's settings
// and ends the process with status 1.
class EndSignals {
public:
  explicit EndSignals(std::initializer_list<int> signals);
  EndSignals(const EndSignals&) = delete;
  EndSignals& operator=(const EndSignals&) = delete;
  ~EndSignals();

  // Readable when one of the signals has come, and from then on.
  int descriptor() const { return m_signals.get(); }

  // `cleanUp` runs on the object's thread at a moment when any other thread may hold any lock. It must take
  // no lock, must not wait, and must stay callable as long as this object exists.
  void beforeForcedEnd(std::function<void()> cleanUp);

private:
  void watch();
  [[noreturn]] void forceEnd();

  const FileDescriptor m_signals;
  const FileDescriptor m_done; // an eventfd
  termios m_settings{};
  const bool m_terminal;
  bool m_needsControlS = false; // written by m_thread
  std::mutex m_mutex;           // guards m_cleanUps
  std::vector<std::function<void()>> m_cleanUps;
  std::thread m_thread; // uses all others
};
