// The process's watchdog supervisor: one thread, there only while a client is started, that looks at all
// clients once a second, reports the late ones at LOG_CRIT and, while none is late, keeps the service manager
// content.
//
// All operations may be called from any thread.
#pragma once

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/host/watchdog/watchdog_table.h"

class WatchdogSupervisor {
public:
  using Client = WatchdogTable::Client;

  // The one supervisor. It is never destroyed, so a client may outlive main.
  static WatchdogSupervisor& instance();

  WatchdogSupervisor(const WatchdogSupervisor&) = delete;
  WatchdogSupervisor& operator=(const WatchdogSupervisor&) = delete;

  void add(Client* client);

  // With the last started client the thread ends; it is joined before this returns.
  void remove(Client* client);

  // When the thread cannot be created, a line at LOG_CRIT says so, and the next start of a client tries
  // again.
  void start(Client& client, unsigned timeout);

  void notify(Client& client);

  // A copy of the client's record that is consistent in itself.
  Client snapshot(const Client& client);

private:
  WatchdogSupervisor() = default;
  ~WatchdogSupervisor() = default;

  void launch();
  void run(unsigned generation);

  std::mutex m_mutex;
  std::condition_variable m_ended;
  WatchdogTable m_table;
  std::thread m_thread;
  unsigned m_generation = 0; // a thread of an older generation ends
};
