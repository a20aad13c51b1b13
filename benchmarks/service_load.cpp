// How the service keeps its time when others ask it, for service_timing.
#include "benchmarks/timed_service.h"

namespace {

// A thread that does nothing but sleep, beside the service.
class BareThread {
public:
  BareThread() : m_thread([this] { run(); }) {}
  BareThread(const BareThread&) = delete;
  BareThread& operator=(const BareThread&) = delete;
  ~BareThread() { stop(); }

  // Ends it and returns how late it woke each time.
  const std::vector<Duration>& stop() {
    m_ending = true;
    if (m_thread.joinable()) {
      m_thread.join();
    }
    return m_lateness;
  }

private:
  void run() {
    while (!m_ending) {
      const Clock::time_point due = Clock::now() + 1ms;
      TimedBus::sleepUntil(due);
      m_lateness.push_back(Clock::now() - due);
    }
  }

  std::atomic<bool> m_ending{false};
  std::vector<Duration> m_lateness;
  std::thread m_thread;
};

// As many cycles of the running service.
std::vector<TimedBus::Cycle> runCycles(unsigned count) {
  Service::awaitEndOfCycle();
  TimedBus::takeCycles();
  std::vector<TimedBus::Cycle> cycles;
  while (cycles.size() < count) {
    std::this_thread::sleep_for(100ms);
    for (const TimedBus::Cycle& cycle : TimedBus::takeCycles()) {
      cycles.push_back(cycle);
    }
    progress("load: " + std::to_string(cycles.size()));
  }
  return cycles;
}

void printLateness(const char* what, const std::vector<Duration>& values) {
  const Duration allowed = 2.0 * COMMAND_TRANSFERS * TRANSFER_AT_400_KHZ;
  const auto later =
      std::count_if(values.begin(), values.end(), [&](Duration value) { return value > allowed; });
  std::printf("%s,%zu,%.2f,%td,%.2f,%.2f,%.2f\n", what, values.size(), allowed.count() / 1000, later,
              percentile(values, 0.5), percentile(values, 0.99), percentile(values, 1));
}

} // namespace

// The pause between two cycles is shorter than a second, or ten thousand cycles would take hours.
void measureLoad(unsigned count) {
  constexpr unsigned CLIENTS = 8;
  TimedBus::setTimes(TRANSFER_AT_400_KHZ, 20ms);
  const Service service;
  const BusyClients clients(CLIENTS);
  BareThread bare;
  const std::vector<TimedBus::Cycle> cycles = runCycles(count);
  const std::vector<Duration>& bareLateness = bare.stop();
  std::vector<Duration> lateness;
  std::vector<Duration> waited;
  for (const TimedBus::Cycle& cycle : cycles) {
    lateness.emplace_back(cycle.begin - cycle.due);
    waited.push_back(cycle.waited);
  }
  std::printf("what,times,allowed (ms),later than allowed,p50 (ms),p99 (ms),max (ms)\n");
  printLateness("a cycle begins", lateness);
  printLateness("a cycle waits for transfers of others", waited);
  printLateness("a bare thread wakes", bareLateness);
}

// A cycle in which a command and, later, a configuration arrive, and what follows.
void measureLine() {
  TimedBus::setTimes(TRANSFER_AT_100_KHZ, FULL_SECOND);
  const Service service;
  const ConsoleConnection console(CONSOLE_PORT);
  console.receiveReply();
  Configurator configurator;
  Service::awaitEndOfCycle();
  TimedBus::recordTransfers();
  Service::awaitTransfers(20);
  const Clock::time_point asked = Clock::now();
  console.ask(COMMAND);
  const Clock::time_point replied = Clock::now();
  std::this_thread::sleep_for(5ms);
  const TimedBus::Record before = TimedBus::record();
  const Clock::time_point sent = Clock::now();
  configurator.sendChanged();
  while (TimedBus::record().writes < before.writes + CONFIGURATION_WRITES) {
    std::this_thread::sleep_for(1ms);
  }
  const std::vector<TimedBus::Transfer> transfers = TimedBus::recordedTransfers();
  const Clock::time_point begin = transfers.front().begin;
  const auto row = [&](const char* what, Clock::time_point from, Clock::time_point to) {
    std::printf("%s,%.3f,%.3f\n", what, Duration(from - begin).count() / 1000,
                Duration(to - begin).count() / 1000);
  };
  std::printf("what,begin (ms),end (ms)\n");
  for (const TimedBus::Transfer& transfer : transfers) {
    row(transfer.isWorkers      ? "cycle"
        : transfer.begin < sent ? "command"
                                : "configuration",
        transfer.begin, transfer.end);
  }
  row("command asked", asked, replied);
  row("configuration sent", sent, transfers.back().end);
}
