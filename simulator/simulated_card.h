// The simulated chip as the bus and the commands share it: each transfer and each
// command finds the chip as far as time has passed. May be used from any thread.
#pragma once

#include "simulator/card_command.h"

#include <chrono>
#include <cstdint>
#include <mutex>
#include <string>

class SimulatedCard {
public:
  SimulatedCard();

  // Bus side. False: the transfer failed, without any effect on the chip.
  bool read(std::uint8_t address, std::uint8_t* value);
  bool write(std::uint8_t address, std::uint8_t value);

  // Test side.
  void setPresent(bool present);
  // The command's reply.
  std::string run(const CardCommand& command);

private:
  using Clock = std::chrono::steady_clock;

  void letTimePass();

  std::mutex m_mutex; // guards all that follows
  Card m_card;
  Clock::time_point m_now; // as far as the chip has come
};
