// A /dev/i2c-0 that takes the time of a real bus, for the whole service in one process: open, close, ioctl
// and the sleep between two cycles are taken over at link time (--wrap). The chip is 256 registers that hold
// what is written.
//
// One bus for the process. All operations may be called from any thread.
#pragma once

#include <chrono>
#include <cstdint>
#include <vector>

namespace TimedBus {

using Clock = std::chrono::steady_clock;
using Duration = std::chrono::duration<double, std::micro>;

// How long a transfer takes, and how long the worker sleeps between two cycles instead of its second; 0: its
// second.
void setTimes(Duration transfer, Duration pause);

// What has happened on the bus so far.
struct Record {
  Duration busy;           // time of all transfers, the one that goes on included as far as it has come
  std::uint64_t transfers; // that have ended
  std::uint64_t writes;    // of them
  Clock::time_point lastWrite;
  Duration busyAtLastWrite;
  std::uint64_t cyclesBegun;
  std::uint64_t cyclesEnded;
};
Record record();

// A cycle of the worker, from its first transfer to its sleep.
struct Cycle {
  Clock::time_point due; // the end of the sleep before it
  Clock::time_point begin;
  Duration waited; // time of the transfers of others that ended between waking from that sleep and begin
};

// Those that have ended since the last call.
std::vector<Cycle> takeCycles();

void sleepUntil(Clock::time_point end);

// A transfer of the worker or of another thread.
struct Transfer {
  Clock::time_point begin;
  Clock::time_point end;
  unsigned reg;
  bool isWorkers;
};

// Those that have ended since the last call of recordTransfers.
void recordTransfers();
std::vector<Transfer> recordedTransfers();

} // namespace TimedBus
