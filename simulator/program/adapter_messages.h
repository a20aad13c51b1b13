// The messages of GLib and of the simulated adapter's library. When these libraries cannot go on, they abort
// the process; this class makes that one line on standard error and an exit status, without a core dump.
#pragma once

#include <atomic>
#include <functional>

class AdapterMessages {
public:
  // From now on a fatal message is printed as one line on standard error. The thread that failed then calls
  // `cleanUp` and ends the process: with status `startFailed` until adapterIsMade(), with `runFailed` after
  // it. Other messages are written as GLib does. Make one object per process, before GLib is used, and keep
  // it until the process ends.
  AdapterMessages(int startFailed, int runFailed, std::function<void()> cleanUp);
  AdapterMessages(const AdapterMessages&) = delete;
  AdapterMessages& operator=(const AdapterMessages&) = delete;

  // While the adapter is made a warning is fatal as well: it means that there is none.
  void adapterIsMade() { m_starting = false; }

  // The end, for a message that is fatal.
  [[noreturn]] void end(const char* message) const;
  bool starting() const { return m_starting; }

private:
  const int m_startFailed;
  const int m_runFailed;
  const std::function<void()> m_cleanUp;
  std::atomic<bool> m_starting{true};
};
