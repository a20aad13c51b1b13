// The software watchdog's bookkeeping: which clients are supervised, and which are late.
//
// Pure logic: all times are handed in, in milliseconds of one clock that does not go back. Not thread-safe;
// the supervisor calls it under its lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

class WatchdogTable {
public:
  // One client. Owned by whoever adds it, who removes it before it goes.
  struct Client {
    static constexpr std::size_t NAME_SIZE = 32; // with the NUL; a longer name is cut

    explicit Client(const std::string& clientName) noexcept;

    char name[NAME_SIZE] = {};
    Client* next = nullptr;      // in the table
    std::uint64_t lastFed = 0;   // time when it was last fed
    std::uint64_t missedGap = 0; // longest gap that broke the promise since the last check, 0 = none
    unsigned timeout = 0;        // milliseconds
    bool started = false;
    bool reportedLate = false; // and not yet reported as fed again
  };

  // A message for the operator. `gap` is the time since the client was last fed.
  struct Report {
    enum class Kind { NOT_FED, FED_AGAIN } kind;
    std::string name;
    std::uint64_t gap;
    unsigned timeout;
  };

  // Result of a check.
  struct Findings {
    bool allInTime; // at least one client is started and none is late
    std::vector<Report> reports;
  };

  // `client` must not be in the table. It is not supervised before it is started. Allocates nothing.
  void add(Client* client);

  // Takes `client` out and returns what is still to be said about it.
  std::vector<Report> remove(Client* client, std::uint64_t now);

  // Starts the supervision of `client`, or gives it a new time-out. Feeds it, too.
  void start(Client& client, unsigned timeout, std::uint64_t now);

  // Feeds the client. Allocates nothing; the next check reports a deadline that was missed before. Has no
  // effect on a client that is not started.
  void notify(Client& client, std::uint64_t now);

  // Looks at all clients. Each late client is reported once, and once more when it has been fed again.
  Findings check(std::uint64_t now);

  // Number of clients that are started.
  std::size_t startedClients() const;

  // True when `client` is started and over its time at `now`.
  static bool isLate(const Client& client, std::uint64_t now);

  // Milliseconds since the client was last fed.
  static std::uint64_t gap(const Client& client, std::uint64_t now);

private:
  Client* m_first = nullptr; // a list, so that there is no want of memory
};
