// The software watchdog's bookkeeping: which clients are supervised, and which are late.
//
// Pure logic: all times are handed in, in milliseconds of one clock that does not go back. Not thread-safe;
// the supervisor calls it under its lock.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

class WatchdogTable {
public:
  // One client. Owned by whoever adds it, who removes it before it goes.
  struct Client {
    static constexpr std::size_t NAME_SIZE = 32; // with the NUL; a longer name is cut

    explicit Client(const std::string& clientName) noexcept;

    char name[NAME_SIZE] = {};
    Client* next = nullptr;    // in the table
    std::uint64_t lastFed = 0; // time when it was last fed
    unsigned timeout = 0;      // milliseconds
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

  using Reports = std::vector<Report>;

  // Result of a check.
  struct Findings {
    bool allInTime; // at least one client is started and none is late
    Reports reports;
  };

  // Later than any time.
  static constexpr std::uint64_t NEVER = std::numeric_limits<std::uint64_t>::max();

  // `client` must not be in the table. It is not supervised before it is started. Allocates nothing.
  void add(Client* client);

  // Takes `client`, which is in the table, out and returns what is still to be said about it.
  Reports remove(Client* client, std::uint64_t now);

  // Starts the supervision of `client`, or gives it a new time-out. Feeds it, too, and returns what notify()
  // returns.
  Reports start(Client& client, unsigned timeout, std::uint64_t now);

  // Feeds the client. When it was late, returns FED_AGAIN, after NOT_FED if no check has reported that.
  // Allocates nothing for a client that was in time.
  Reports notify(Client& client, std::uint64_t now);

  // Looks at all clients. Each late client is reported once.
  Findings check(std::uint64_t now);

  // When the next check has something new to report, unless a client is fed or started before; NEVER without
  // a client that can become late.
  std::uint64_t nextDeadline() const;

  // Number of clients that are started.
  std::size_t startedClients() const;

  // True when `client` is started and over its time at `now`.
  static bool isLate(const Client& client, std::uint64_t now);

  // Milliseconds since the client was last fed.
  static std::uint64_t gap(const Client& client, std::uint64_t now);

private:
  Client* m_first = nullptr; // a list, so that there is no want of memory
};
