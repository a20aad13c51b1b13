// The simulated chip as the bus and the commands share it: each transfer and each command finds the chip as
// far as time has passed. May be used from any thread.
#pragma once

#include "simulator/bus/transfer_record.h"
#include "simulator/card/card_command.h"

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class SimulatedCard {
public:
  // Real: the time of the machine. Stepped: each transfer first advances the time by STEP and nothing else
  // does, so that the same transfers find the same chip.
  enum class Time { Real, Stepped };
  static constexpr std::chrono::milliseconds STEP{15};

  // Time begins here.
  explicit SimulatedCard(Time time = Time::Real);

  // Bus side. False: the transfer failed, without any effect on the chip.
  bool read(std::uint8_t address, std::uint8_t* value);
  bool write(std::uint8_t address, std::uint8_t value);
  // Whether the chip acknowledges its address; no transfer, and not in the record.
  bool acknowledges();
  // A bus that answers late answers at once from now on, so that its thread can be joined.
  void endWaits();

  // Test side.
  void setPresent(bool present);
  // The command's reply.
  std::string run(const CardCommand& command);
  // The same of a line: a line that is no command gives "error: " and why.
  std::string answer(const std::string& line);
  // Replaces what is left of an earlier schedule. Commands that are due run at once, in the order of their
  // times and then of the list. The others run at their times; a transfer or a command that comes later finds
  // them done.
  void schedule(std::vector<TimedCommand> commands);
  // All transfers from now on.
  void record(std::unique_ptr<TransferRecord> record);
  // False: transfers are missing in the record.
  bool recordComplete();

private:
  using Clock = std::chrono::steady_clock;

  bool transfer(Transfer::Direction direction, std::uint8_t address, std::uint8_t* value);
  void waitForTheBus(std::unique_lock<std::mutex>& lock);
  void letTimePass();
  void letTransferTimePass();
  void advanceTo(std::chrono::nanoseconds time);

  const Time m_time;
  const Clock::time_point m_start;
  std::mutex m_mutex; // guards all that follows
  Card m_card;
  std::unique_ptr<TransferRecord> m_record; // may be null
  std::chrono::nanoseconds m_now{0};        // since the start; as far as the chip has come
  std::vector<TimedCommand> m_schedule;     // by time
  std::size_t m_nextCommand = 0;
  std::condition_variable m_busChanged;
  bool m_waits = true; // for a bus that answers late
};
