// How long the service lets others wait: latency of configurations and of console commands, and how late the
// cycles begin when there is more to do beside them. The whole service runs in this process on a bus that
// takes the time of a real one; the queues and the console are real. service_timing accepts one of these:
//
//   latency SAMPLES      a line for each combination of bus speed, request and phase
//   load CYCLES          how late cycles begin beside busy console clients, and a bare thread wakes
//   line 1               a line for each transfer of a cycle, a command and a configuration
#include "benchmarks/timed_service.h"

#include <cstdlib>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <stdexcept>
#include <sys/prctl.h>

namespace {

using TimedBus::Clock;
using TimedBus::Duration;
using namespace std::chrono_literals;

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

} // namespace

int main(int argc, char** argv) {
  const std::string what = argc == 3 ? argv[1] : "";
  const auto number = static_cast<unsigned>(argc == 3 ? std::strtoul(argv[2], nullptr, 10) : 0);
  const std::map<std::string, std::function<void()>> measurements = {
      {"latency", [&] { measureLatencies(number); }},
      {"load", [&] { measureLoad(number); }},
      {"line", [] { measureLine(); }}};
  const auto measurement = measurements.find(what);
  if (number == 0 || measurement == measurements.end()) {
    std::fprintf(stderr, "service_timing: accepted are latency SAMPLES, load CYCLES and line 1\n");
    return 2;
  }
  // Threads inherit it: a sleep ends when it is to end, and not up to 50 us later.
  prctl(PR_SET_TIMERSLACK, 1UL);
  setvbuf(stdout, nullptr, _IOLBF, 0);
  testing::GTEST_FLAG(throw_on_failure) = true; // of the queues and of the console's connections
  try {
    measurement->second();
  } catch (const std::runtime_error& error) {
    std::fprintf(stderr, "service_timing: %s\n", error.what());
    return 1;
  }
  progress("");
}
