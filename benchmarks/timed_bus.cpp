#include "benchmarks/timed_bus.h"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>
#include <mutex>
#include <thread>
#include <utility>

extern "C" {
int __real_open(const char* path, int flags, ...);
int __real_close(int file);
int __real_ioctl(int file, unsigned long request, ...);
int __real_clock_nanosleep(clockid_t clock, int flags, const timespec* request, timespec* remaining);
}

namespace {

using namespace TimedBus;

constexpr int DESCRIPTOR = 0x7A11;
constexpr unsigned FIRST_OF_CYCLE = 0x90; // nothing else that is measured reads this register

std::mutex mutex;
Duration transferTime{0};
Duration pauseTime{0};
Record state{};
bool isBusy = false;
Clock::time_point busySince;
Cycle current{};
bool inCycle = false;
std::vector<Cycle> ended;
std::vector<Clock::time_point> endsBetweenCycles; // of transfers since the last cycle
Clock::time_point sleepEnd;
Clock::time_point awake;
std::thread::id worker;
bool isRecording = false;
std::vector<Transfer> transfers;

std::array<std::uint8_t, 256> chipInOrder() {
  std::array<std::uint8_t, 256> registers{};
  registers[0x10] = 0x11;
  registers[0x0C] = 0x14;
  registers[0x43] = 0x42;
  registers[0x92] = 4;
  registers[0x96] = 4;
  return registers;
}
std::array<std::uint8_t, 256> registers = chipInOrder();

Duration busyUntil(Clock::time_point now) {
  return state.busy + (isBusy ? Duration(now - busySince) : Duration(0));
}

// Returns how long the transfer takes.
Duration beginTransfer(const i2c_smbus_ioctl_data& request) {
  const std::lock_guard<std::mutex> lock(mutex);
  isBusy = true;
  busySince = Clock::now();
  if (request.command == FIRST_OF_CYCLE && request.read_write == I2C_SMBUS_READ) {
    inCycle = true;
    state.cyclesBegun++;
    const auto waited = std::count_if(endsBetweenCycles.begin(), endsBetweenCycles.end(),
                                      [](Clock::time_point end) { return end > awake; });
    current = {sleepEnd, busySince, static_cast<double>(waited) * transferTime};
    worker = std::this_thread::get_id();
  }
  return transferTime;
}

void endTransfer(const i2c_smbus_ioctl_data& request) {
  const std::lock_guard<std::mutex> lock(mutex);
  const Clock::time_point now = Clock::now();
  state.busy = busyUntil(now);
  isBusy = false;
  state.transfers++;
  if (!inCycle) {
    endsBetweenCycles.push_back(now);
  }
  if (isRecording) {
    transfers.push_back({busySince, now, request.command, std::this_thread::get_id() == worker});
  }
  if (request.read_write == I2C_SMBUS_READ) {
    request.data->byte = registers[request.command];
  } else {
    registers[request.command] = request.data->byte;
    state.writes++;
    state.lastWrite = now;
    state.busyAtLastWrite = state.busy;
  }
}

// Like an adapter's driver, which sleeps until the bus interrupts.
void transfer(const i2c_smbus_ioctl_data& request) {
  const Duration time = beginTransfer(request);
  if (time > Duration(0)) {
    sleepUntil(Clock::now() + std::chrono::duration_cast<Clock::duration>(time));
  }
  endTransfer(request);
}

// Returns when the pause after it ends; `requested` is the end of the service's own second.
Clock::time_point endCycle(Clock::time_point requested) {
  const std::lock_guard<std::mutex> lock(mutex);
  const Clock::time_point now = Clock::now();
  const bool isShorter = pauseTime != Duration(0);
  sleepEnd = isShorter ? now + std::chrono::duration_cast<Clock::duration>(pauseTime) : requested;
  endsBetweenCycles.clear();
  if (inCycle) {
    inCycle = false;
    ended.push_back(current);
    state.cyclesEnded++;
  }
  return sleepEnd;
}

} // namespace

void TimedBus::setTimes(Duration transfer, Duration pause) {
  const std::lock_guard<std::mutex> lock(mutex);
  transferTime = transfer;
  pauseTime = pause;
}

TimedBus::Record TimedBus::record() {
  const std::lock_guard<std::mutex> lock(mutex);
  Record now = state;
  now.busy = busyUntil(Clock::now());
  return now;
}

void TimedBus::recordTransfers() {
  const std::lock_guard<std::mutex> lock(mutex);
  isRecording = true;
  transfers.clear();
}

std::vector<TimedBus::Transfer> TimedBus::recordedTransfers() {
  const std::lock_guard<std::mutex> lock(mutex);
  isRecording = false;
  return transfers;
}

void TimedBus::sleepUntil(Clock::time_point end) {
  const auto sinceEpoch = end.time_since_epoch();
  const auto seconds = std::chrono::floor<std::chrono::seconds>(sinceEpoch);
  const timespec time{seconds.count(), std::chrono::nanoseconds(sinceEpoch - seconds).count()};
  __real_clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &time, nullptr);
}

std::vector<TimedBus::Cycle> TimedBus::takeCycles() {
  const std::lock_guard<std::mutex> lock(mutex);
  return std::exchange(ended, {});
}

extern "C" {

int __wrap_open(const char* path, int flags, ...) {
  if (std::strncmp(path, "/dev/i2c-", 9) == 0) {
    return DESCRIPTOR;
  }
  va_list rest;
  va_start(rest, flags);
  const int mode = (flags & O_CREAT) != 0 ? va_arg(rest, int) : 0;
  va_end(rest);
  return __real_open(path, flags, mode);
}

int __wrap_close(int file) {
  return file == DESCRIPTOR ? 0 : __real_close(file);
}

int __wrap_ioctl(int file, unsigned long request, ...) {
  va_list rest;
  va_start(rest, request);
  void* argument = va_arg(rest, void*);
  va_end(rest);
  if (file != DESCRIPTOR) {
    return __real_ioctl(file, request, argument);
  }
  if (request == I2C_SMBUS) {
    transfer(*static_cast<const i2c_smbus_ioctl_data*>(argument));
  }
  return 0;
}

// Of all that is linked here only the sleep between two cycles calls it, with the time at which it is to end.
int __wrap_clock_nanosleep(clockid_t /*clock*/, int /*flags*/, const timespec* request,
                           timespec* /*remaining*/) {
  const auto requested = std::chrono::seconds(request->tv_sec) + std::chrono::nanoseconds(request->tv_nsec);
  sleepUntil(endCycle(Clock::time_point(requested)));
  const std::lock_guard<std::mutex> lock(mutex);
  awake = Clock::now();
  return 0;
}
}
