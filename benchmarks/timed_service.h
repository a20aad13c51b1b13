// The whole service in this process, on a bus that takes the time of a real one, with what asks it: for the
// measurements of its timing. The queues and the console are real.
#pragma once

#include "benchmarks/timed_bus.h"
#include "tests/support/doubles/four_ports.h"
#include "tests/support/process/console_connection.h"
#include "tests/support/process/reading_main_process.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <thread>
#include <unistd.h>
#include <vector>

int poeServiceMain();
extern std::uint8_t g_running;

using TimedBus::Clock;
using TimedBus::Duration;
using namespace std::chrono_literals;

constexpr Duration TRANSFER_AT_100_KHZ{390};
constexpr Duration TRANSFER_AT_400_KHZ{97.5};
constexpr Duration FULL_SECOND{0};
inline const std::string COMMAND = "PD69104Engine poeport 1"; // ten transfers
constexpr unsigned COMMAND_TRANSFERS = 10;
constexpr unsigned CYCLE_TRANSFERS = 64;
constexpr unsigned CONFIGURATION_WRITES = 48; // of four ports that change

inline void progress(const std::string& text) {
  if (isatty(STDERR_FILENO) != 0) {
    std::fprintf(stderr, "\r\033[K%s", text.c_str());
  }
}

// Configurations of four ports.
class Configurator {
public:
  void sendAgain() { m_sender.send(m_config); }

  // Every port gets another limit.
  void sendChanged() {
    for (PoePortConfig& port : m_config.port) {
      port.powerLimit = port.powerLimit == 15000 ? 14000 : 15000;
    }
    sendAgain();
  }

private:
  ConfigSender m_sender;
  PoeConfig m_config = fourPorts();
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
  ReadingMainProcess m_mainProcess; // the worker never waits for room
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

// In milliseconds.
inline double percentile(std::vector<Duration> values, double part) {
  std::sort(values.begin(), values.end());
  const auto last = static_cast<double>(values.size() - 1);
  return values[static_cast<std::size_t>(last * part)].count() / 1000;
}

// How late `count` cycles begin beside busy console clients, and how late a bare thread wakes: lines of a
// table.
void measureLoad(unsigned count);

// When the transfers of a cycle, of a command and of a configuration are made: lines of a table.
void measureLine();
