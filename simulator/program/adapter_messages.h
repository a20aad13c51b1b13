// What GLib and the library of the simulated adapter have to say. Where they cannot go on they end the
// process; this makes an end of it in one line and without a core dump.
#pragma once

#include <atomic>
#include <functional>

class AdapterMessages {
public:
  // From here on a fatal message is one line on standard error, `cleanUp` is called on the thread that
  // failed, and the process ends: with `startFailed` as its status while the adapter is made, else with
  // `runFailed`. Other messages are written as GLib does. To be made once in a process, before GLib is used,
  // and never destroyed before its end.
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
