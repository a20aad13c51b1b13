// The service's console beside the live view.
#pragma once

#include "poectl/host/periodic_worker.h"
#include "poectl/status/snapshot.h"

#include <array>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

// Asks every few seconds for the reports "channel", which the service answers from its memory. "poeport"
// makes 10 transfers on the chip's bus, one of which may fail, and is asked for only by readSettings(). No
// call waits for the console, nor does the destructor.
class ConsoleReports {
public:
  ConsoleReports();

  // Asks for "poeport" of a port, once.
  void readSettings(unsigned port);

  struct Reading {
    unsigned port;
    std::optional<PortDetails> settings; // nothing when they could not be read
    std::string error;                   // then the reason, one line
  };
  struct Update {
    std::array<std::string, POE_PORTS> faults; // as faultsOf() has them; empty when not known
    std::vector<Reading> readings;             // since the call before
  };
  Update update();

private:
  void work();
  void askFaults();
  static Reading read(unsigned port, int stop);

  std::mutex m_mutex; // guards what follows
  std::vector<unsigned> m_wanted;
  Update m_update;

  PeriodicWorker m_worker; // the last: its thread uses all others
};
