// How long the service lets others wait: latency of configurations and of console commands, the pace of the
// cycles, and what a cycle costs when there is more to do beside it. The whole service runs in this process
// on a bus that takes the time of a real one; the queues and the console are real.
//
//   service_timing latency SAMPLES      a line for each combination of bus speed, request and phase
//   service_timing pace SECONDS         a line for each cycle, without and with busy console clients
//   service_timing growth CYCLES        a line for each number of clients and each rate of configurations
#include "benchmarks/timed_bus.h"
#include "components/PoeDriver/poe_messages.h"
#include "tests/support/doubles/four_ports.h"
#include "tests/support/process/console_connection.h"

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <mqueue.h>
#include <random>
#include <stdexcept>
#include <string>
#include <sys/prctl.h>
#include <thread>
#include <unistd.h>
#include <vector>

int poeServiceMain();
extern std::uint8_t g_running;

namespace {

using TimedBus::Clock;
using TimedBus::Duration;
using namespace std::chrono_literals;

constexpr Duration TRANSFER_AT_100_KHZ{390};
constexpr Duration TRANSFER_AT_400_KHZ{97.5};
constexpr Duration FULL_SECOND{0};
const std::string COMMAND = "PD69104Engine poeport 1"; // ten transfers
constexpr unsigned CYCLE_TRANSFERS = 64;
constexpr unsigned CONFIGURATION_WRITES = 48; // of four ports that change

void check(bool ok, const char* what) {
  if (!ok) {
    throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
  }
}

void progress(const std::string& text) {
  if (isatty(STDERR_FILENO) != 0) {
    std::fprintf(stderr, "\r\033[K%s", text.c_str());
  }
}

// Takes the status messages, so that the worker never waits for room.
class StatusSink {
public:
  StatusSink() {
    mq_attr attributes{};
    attributes.mq_maxmsg = 10;
    attributes.mq_msgsize = sizeof(PoeStatusMessage);
    m_queue = mq_open("/queueToMain", O_RDONLY | O_CREAT, 0600, &attributes);
    check(m_queue != -1, "/queueToMain");
    m_thread = std::thread([this] {
      char message[sizeof(PoeStatusMessage)];
      while (!m_ending) {
        timespec deadline{};
        clock_gettime(CLOCK_REALTIME, &deadline);
        deadline.tv_sec++;
        mq_timedreceive(m_queue, message, sizeof message, nullptr, &deadline);
      }
    });
  }
  StatusSink(const StatusSink&) = delete;
  StatusSink& operator=(const StatusSink&) = delete;
  ~StatusSink() {
    m_ending = true;
    m_thread.join();
    mq_unlink("/queueToMain");
  }

private:
  mqd_t m_queue;
  std::atomic<bool> m_ending{false};
  std::thread m_thread;
};

class Configurator {
public:
  Configurator() : m_queue(mq_open("/queueToPoe", O_WRONLY)) {
    check(m_queue != -1, "/queueToPoe");
    m_message.msgId = MSGID_CONFIG;
    m_message.config = fourPorts();
  }
  Configurator(const Configurator&) = delete;
  Configurator& operator=(const Configurator&) = delete;
  ~Configurator() { mq_close(m_queue); }

  void sendAgain() {
    check(mq_send(m_queue, reinterpret_cast<const char*>(&m_message), sizeof m_message, 0) == 0,
          "/queueToPoe");
  }

  // Every port gets another limit.
  void sendChanged() {
    for (PoePortConfig& port : m_message.config.port) {
      port.powerLimit = port.powerLimit == 15000 ? 14000 : 15000;
    }
    sendAgain();
  }

private:
  mqd_t m_queue;
  PoeConfigMessage m_message{};
};

// The service, started; it ends with the process.
class Service {
public:
  Service() : m_thread(poeServiceMain) {
    while (TimedBus::record().cyclesEnded < 2) {
      std::this_thread::sleep_for(1ms);
    }
    Configurator().sendAgain();
    awaitEndOfCycle();
    awaitEndOfCycle();
  }
  Service(const Service&) = delete;
  Service& operator=(const Service&) = delete;
  ~Service() {
    g_running = 0;
    m_thread.join();
  }

  static void awaitEndOfCycle() {
    const std::uint64_t ended = TimedBus::record().cyclesEnded;
    while (TimedBus::record().cyclesEnded == ended) {
      std::this_thread::sleep_for(200us);
    }
  }

  // Returns when the next cycle has made this number of its transfers.
  static void awaitTransfers(unsigned count) {
    const std::uint64_t begun = TimedBus::record().cyclesBegun;
    TimedBus::Record now = TimedBus::record();
    while (now.cyclesBegun == begun) {
      std::this_thread::sleep_for(100us);
      now = TimedBus::record();
    }
    const std::uint64_t first = now.transfers;
    while (TimedBus::record().transfers < first + count) {
      std::this_thread::sleep_for(50us);
    }
  }

private:
  StatusSink m_sink;
  std::thread m_thread;
};

// Console clients that ask again as soon as they have a reply.
class BusyClients {
public:
  explicit BusyClients(unsigned count) {
    for (unsigned client = 0; client < count; client++) {
      m_threads.emplace_back([this] {
        const ConsoleConnection console(CONSOLE_PORT);
        console.receiveReply(); // the first prompt
        while (!m_ending) {
          console.ask(COMMAND);
        }
      });
    }
  }
  BusyClients(const BusyClients&) = delete;
  BusyClients& operator=(const BusyClients&) = delete;
  ~BusyClients() {
    m_ending = true;
    for (std::thread& thread : m_threads) {
      thread.join();
    }
  }

private:
  std::atomic<bool> m_ending{false};
  std::vector<std::thread> m_threads;
};

struct Sample {
  Duration latency;
  Duration excess; // beyond the time of the bus for what is ahead of the request and for itself
};

// What lies between the request and its end. A cycle that has begun after the request is not ahead of it.
Sample sampleOf(Clock::time_point sent, const TimedBus::Record& before, Clock::time_point end,
                Duration busyAtEnd, const TimedBus::Record& after) {
  const Duration latency = end - sent;
  Duration bus = busyAtEnd - before.busy;
  const auto overtaking = static_cast<double>(after.cyclesBegun - before.cyclesBegun);
  const Duration transfer = after.busy / static_cast<double>(after.transfers);
  if (overtaking > 0 && bus > overtaking * CYCLE_TRANSFERS * transfer) {
    bus -= overtaking * CYCLE_TRANSFERS * transfer;
  }
  return {latency, latency - bus};
}

Sample configure(Configurator& configurator) {
  const TimedBus::Record before = TimedBus::record();
  const Clock::time_point sent = Clock::now();
  configurator.sendChanged();
  TimedBus::Record after = TimedBus::record();
  while (after.writes < before.writes + CONFIGURATION_WRITES) {
    std::this_thread::sleep_for(200us);
    after = TimedBus::record();
  }
  return sampleOf(sent, before, after.lastWrite, after.busyAtLastWrite, after);
}

Sample command(const ConsoleConnection& console) {
  const TimedBus::Record before = TimedBus::record();
  const Clock::time_point sent = Clock::now();
  console.ask(COMMAND);
  const Clock::time_point end = Clock::now();
  const TimedBus::Record after = TimedBus::record();
  return sampleOf(sent, before, end, after.busy, after);
}

double percentile(std::vector<Duration> values, double part) {
  std::sort(values.begin(), values.end());
  const auto last = static_cast<double>(values.size() - 1);
  return values[static_cast<std::size_t>(last * part)].count() / 1000;
}

void printPercentiles(const std::string& row, const std::vector<Sample>& samples) {
  std::vector<Duration> latencies;
  std::vector<Duration> excesses;
  for (const Sample& sample : samples) {
    latencies.push_back(sample.latency);
    excesses.push_back(sample.excess);
  }
  std::printf("%s,%zu,%.2f,%.2f,%.2f,%.2f,%.2f,%.2f\n", row.c_str(), samples.size(),
              percentile(latencies, 0.5), percentile(latencies, 0.99), percentile(latencies, 1),
              percentile(excesses, 0.5), percentile(excesses, 0.99), percentile(excesses, 1));
}

enum class Phase { IDLE, IN_A_CYCLE };

std::vector<Sample> takeSamples(const std::string& row, const std::function<Sample()>& request, Phase phase,
                                unsigned samples) {
  static std::mt19937 random(1);
  std::uniform_int_distribution<unsigned> anyTransfer(0, CYCLE_TRANSFERS - 4);
  std::vector<Sample> taken;
  while (taken.size() < samples) {
    if (phase == Phase::IDLE) {
      Service::awaitEndOfCycle();
      std::this_thread::sleep_for(5ms);
    } else {
      Service::awaitTransfers(anyTransfer(random));
    }
    taken.push_back(request());
    progress(row + ": " + std::to_string(taken.size()));
  }
  return taken;
}

// The pause between two cycles is shorter than a second here, or a thousand cycles would take a thousand
// seconds; what is measured does not contain it.
void measureLatencies(unsigned samples) {
  std::printf("bus (kHz),request,phase,samples,p50 (ms),p99 (ms),max (ms),excess p50 (ms),excess p99 "
              "(ms),excess max (ms)\n");
  TimedBus::setTimes(TRANSFER_AT_400_KHZ, 100ms);
  const Service service;
  Configurator configurator;
  const ConsoleConnection console(CONSOLE_PORT);
  console.receiveReply();
  const std::vector<std::pair<std::string, std::function<Sample()>>> requests = {
      {"configuration", [&] { return configure(configurator); }},
      {"console", [&] { return command(console); }}};
  for (const bool fast : {false, true}) {
    TimedBus::setTimes(fast ? TRANSFER_AT_400_KHZ : TRANSFER_AT_100_KHZ, 100ms);
    for (const auto& [name, request] : requests) {
      for (const Phase phase : {Phase::IDLE, Phase::IN_A_CYCLE}) {
        const std::string row =
            (fast ? "400," : "100,") + name + (phase == Phase::IDLE ? ",idle" : ",in a cycle");
        printPercentiles(row, takeSamples(row, request, phase, samples));
      }
    }
  }
}

void measurePace(unsigned seconds) {
  std::printf("clients,cycle,period (s),cycle's length (s),transfers' time (s)\n");
  TimedBus::setTimes(TRANSFER_AT_100_KHZ, FULL_SECOND);
  const Service service;
  for (const unsigned clients : {0U, 8U}) {
    std::unique_ptr<BusyClients> busy = std::make_unique<BusyClients>(clients);
    Service::awaitEndOfCycle();
    TimedBus::takeCycles();
    for (unsigned second = 0; second < seconds; second++) {
      progress("pace with " + std::to_string(clients) + " clients: " + std::to_string(second) + " s");
      std::this_thread::sleep_for(1s);
    }
    const std::vector<TimedBus::Cycle> cycles = TimedBus::takeCycles();
    for (std::size_t cycle = 0; cycle + 1 < cycles.size(); cycle++) {
      const Duration period = cycles[cycle + 1].begin - cycles[cycle].begin;
      std::printf("%u,%zu,%.6f,%.6f,%.6f\n", clients, cycle, period.count() / 1e6,
                  cycles[cycle].length.count() / 1e6, cycles[cycle].busy.count() / 1e6);
    }
  }
}

double medianOf(const std::vector<TimedBus::Cycle>& cycles, Duration TimedBus::Cycle::*value) {
  std::vector<Duration> values;
  for (const TimedBus::Cycle& cycle : cycles) {
    values.push_back(cycle.*value);
  }
  return percentile(values, 0.5);
}

void measureCycles(const char* row, unsigned count) {
  Service::awaitEndOfCycle();
  TimedBus::takeCycles();
  for (unsigned cycle = 0; cycle < count; cycle++) {
    Service::awaitEndOfCycle();
    progress(std::string(row) + ": " + std::to_string(cycle));
  }
  const std::vector<TimedBus::Cycle> cycles = TimedBus::takeCycles();
  std::printf("%s,%zu,%.4f,%.4f\n", row, cycles.size(), medianOf(cycles, &TimedBus::Cycle::processor),
              medianOf(cycles, &TimedBus::Cycle::length));
}

void measureGrowth(unsigned cycles) {
  std::printf("what,number,cycles,processor time of the worker (ms),length of a cycle (ms)\n");
  TimedBus::setTimes(TRANSFER_AT_100_KHZ, FULL_SECOND);
  const Service service;
  for (const unsigned clients : {0U, 1U, 2U, 4U, 8U}) {
    const BusyClients busy(clients);
    measureCycles(("console clients," + std::to_string(clients)).c_str(), cycles);
  }
  for (const unsigned rate : {0U, 1U, 10U, 100U}) {
    std::atomic<bool> ending{false};
    std::thread sender([&] {
      Configurator configurator;
      while (!ending && rate != 0) {
        configurator.sendAgain();
        std::this_thread::sleep_for(1000000us / rate);
      }
    });
    measureCycles(("configurations a second," + std::to_string(rate)).c_str(), cycles);
    ending = true;
    sender.join();
  }
}

} // namespace

int main(int argc, char** argv) {
  const std::string what = argc == 3 ? argv[1] : "";
  const auto number = static_cast<unsigned>(argc == 3 ? std::strtoul(argv[2], nullptr, 10) : 0);
  if (number == 0 || (what != "latency" && what != "pace" && what != "growth")) {
    std::fprintf(stderr, "service_timing: accepted are latency SAMPLES, pace SECONDS and growth CYCLES\n");
    return 2;
  }
  // Threads inherit it: a sleep ends when it is to end, and not up to 50 us later.
  prctl(PR_SET_TIMERSLACK, 1UL);
  setvbuf(stdout, nullptr, _IOLBF, 0);
  try {
    if (what == "latency") {
      measureLatencies(number);
    } else if (what == "pace") {
      measurePace(number);
    } else {
      measureGrowth(number);
    }
  } catch (const std::runtime_error& error) {
    std::fprintf(stderr, "service_timing: %s\n", error.what());
    return 1;
  }
  progress("");
}
