// The process's watchdog supervisor: one thread, there only while a client is started. It sleeps until the
// earliest deadline of a client or until the service manager's keep-alive is due, reports late clients at
// LOG_CRIT and sends the keep-alive while none is late. The thread that feeds a late client reports that it
// is fed again, and so waits for the log; it holds no lock of the watchdog meanwhile.
//
// All operations may be called from any thread.
#pragma once

#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

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

  std::error_code launch();
  void run(unsigned generation);
  void log(std::unique_lock<std::mutex>& lock, const WatchdogTable::Reports& reports);

  std::mutex m_mutex;
  std::condition_variable m_wake; // of the thread: it shall end, or a client has an earlier deadline
  WatchdogTable m_table;
  std::thread m_thread;
  unsigned m_generation = 0; // a thread of an older generation ends
  // The lines reach the log in the order of what they report, although nobody logs with the mutex locked:
  // each takes the next ticket and waits for its turn.
  std::condition_variable m_turnChanged;
  unsigned m_nextTicket = 0;
  unsigned m_turn = 0;
};
