// The whole service in this process, on a bus that takes the time of a real one, with what asks it: for the
// measurements of its timing. The queues and the console are real.
#pragma once

#include "benchmarks/timed_bus.h"
#include "components/PoeDriver/poe_messages.h"
#include "tests/support/doubles/four_ports.h"
#include "tests/support/process/console_connection.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <mqueue.h>
#include <stdexcept>
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

inline void check(bool ok, const char* what) {
  if (!ok) {
    throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
  }
}

inline void progress(const std::string& text) {
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

// In milliseconds.
inline double percentile(std::vector<Duration> values, double part) {
  std::sort(values.begin(), values.end());
  const auto last = static_cast<double>(values.size() - 1);
  return values[static_cast<std::size_t>(last * part)].count() / 1000;
}
