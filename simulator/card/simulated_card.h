// The simulated chip as the bus, the commands and the scenario share it: each
// transfer and each command finds the chip as far as time has passed. May be used
// from any thread.
#pragma once

#include "simulator/bus/transfer_record.h"
#include "simulator/card/card_command.h"
#include "simulator/card/card_scenario.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

class SimulatedCard {
public:
  // Real: as on the wall. Stepped: by STEP before each transfer and never else, so
  // that the same transfers find the same chip.
  enum class Time { Real, Stepped };
  static constexpr std::chrono::milliseconds STEP{15};

  // Time begins here.
  explicit SimulatedCard(Time time = Time::Real);

  // Bus side. False: the transfer failed, without any effect on the chip.
  bool read(std::uint8_t address, std::uint8_t* value);
  bool write(std::uint8_t address, std::uint8_t value);

  // Test side.
  void setPresent(bool present);
  // The command's reply.
  std::string run(const CardCommand& command);
  // The same of a line: a line that is no command gives "error: " and why.
  std::string answer(const std::string& line);
  // Takes the place of what is left of the scenario before. Steps that are due are
  // run at once, the others when a transfer or a command finds their time passed: in
  // between nobody can tell.
  void follow(const std::vector<ScenarioStep>& scenario);
  // All transfers from now on.
  void record(std::unique_ptr<TransferRecord> record);
  // False: transfers are missing in the record.
  bool recordComplete();

private:
  using Clock = std::chrono::steady_clock;

  void letTimePass();
  void letTransferTimePass();
  void advanceTo(std::chrono::nanoseconds time);

  const Time m_time;
  const Clock::time_point m_start;
  std::mutex m_mutex; // guards all that follows
  Card m_card;
  std::unique_ptr<TransferRecord> m_record; // may be null
  std::chrono::nanoseconds m_now{0};        // since the start; as far as the chip has come
  std::vector<ScenarioStep> m_scenario;
  std::size_t m_nextStep = 0;
};
