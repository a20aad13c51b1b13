// What the service finds around it in a run: the chip on its bus, the two queues, the console's port and the
// log. All of it is simulated, so that the scheduler knows who waits for what.
//
// The upper part is for the tests' threads of a run: the main process and console clients. The lower part is
// what the seams call in the place of the system. Whatever the system would not accept fails the run.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "tests/schedules/scheduler.h"

#include <deque>
#include <map>
#include <poll.h>
#include <set>
#include <string>
#include <vector>

class Environment {
public:
  using Time = Scheduler::Time;

  struct LogLine {
    Time time;
    std::string text;
  };

  // As before the first run.
  void reset() { *this = Environment(); }

  // The main process.
  void sendConfiguration(const PoeConfig& config);
  void awaitStatus(unsigned count); // since the start; fails when none comes for 20 s
  void interruptService();          // the receive fails, as after a signal

  // A client of the console.
  static constexpr int NOBODY_LISTENS = -1;
  int connect(); // waits up to 20 s for a server
  void send(int connection, const std::string& line);
  std::string awaitReply(int connection); // up to the next prompt, or what came until the server closed
  void hangUp(int connection);

  std::array<std::uint8_t, 256> registers{}; // of the chip; they hold what is written
  std::vector<PoeStatus> statuses;
  std::vector<LogLine> log;
  std::function<void()> onOpenedBus;

  // Fails the run when something is left that the service should have closed.
  void checkClosed() const;

  // For the seams.
  int open(const char* path);
  int transfer(int descriptor, void* arguments);
  int openQueue(const char* name);
  void unlinkQueue(const char* name);
  ssize_t receive(char* buffer, std::size_t size, Time end);
  int sendStatus(const char* data, std::size_t size);
  int openListener(int family);
  int openEvent();
  void writeEvent(int descriptor);
  int poll(pollfd* descriptors, std::size_t count, Time end);
  int accept(int listener);
  ssize_t receiveFrom(int connection, char* buffer, std::size_t size);
  ssize_t sendTo(int connection, const char* data, std::size_t size);
  int close(int descriptor);
  void addLog(const std::string& text);

private:
  struct Connection {
    std::string toServer;
    std::string toClient;
    bool isAccepted = false;
    bool hasClientLeft = false;
    bool hasServerLeft = false;
  };

  short eventsOf(const pollfd& descriptor) const;
  void require(int descriptor) const;

  std::set<int> m_open;
  bool m_isListening = false;
  bool m_isEventSet = false;
  bool m_isInterrupted = false;
  bool m_hasQueue = false;
  std::deque<std::string> m_toPoe;
  std::map<int, Connection> m_connections;
};

// The environment of the process.
Environment& environment();
