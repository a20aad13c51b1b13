// The simulated chip in stepped time, and when each of its ports has power: time passes with each transfer
// and in pauses, and each change of a port's power is written down with the transfer that has caused it.
#pragma once

#include "simulator/chip/chip_model.h"
#include "tests/support/doubles/i2c_bus.h"

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct PowerChange {
  bool isOn;
  unsigned transfers; // made since the watch was started, the one that has caused the change included
  std::chrono::nanoseconds time; // since then
  std::string cause;             // the write, for example "0x12"; empty: the chip by itself
};

struct PowerHistory {
  bool hadPower = false;
  std::vector<PowerChange> changes;
};

using PowerHistories = std::array<PowerHistory, ChipModel::PORTS>;

class SteppedCard : public BusDevice {
public:
  // A byte read with its register number is 39 bits of a bus of 100 kHz; a write is shorter by 10.
  static constexpr std::chrono::microseconds TRANSFER_TIME{390};

  bool read(std::uint8_t reg, std::uint8_t* value) override;
  bool write(std::uint8_t reg, std::uint8_t value) override;
  void pause(std::chrono::milliseconds time);

  // Whatever happens to the card but by the bus.
  void change(const std::function<void(ChipModel&)>& action);

  // Histories, time and the numbers of the transfers begin here; a fault that is still to come is forgotten.
  void startWatch();
  const PowerHistories& histories() const { return m_histories; }
  unsigned transfers() const { return m_transfers; }

  // The number of the transfer that is to fail, 1 for the next one after startWatch; 0: none.
  void failTransfer(unsigned number) { m_failing = number; }
  void setBusDead(bool isDead) { m_isBusDead = isDead; }

  // The service is killed before it makes the transfer of this number; 0: it is not. What it still tries does
  // not happen.
  void killServiceBefore(unsigned number) { m_lethal = number; }
  bool isServiceKilled() const { return m_isServiceKilled; }
  // Another one may use the bus.
  void letServiceRun();

private:
  bool isMade();
  bool isAtRest() const;
  void pass(std::chrono::nanoseconds time);
  void note(const std::string& cause);

  ChipModel m_chip;
  PowerHistories m_histories;
  std::array<bool, ChipModel::PORTS> m_isPowered{};
  std::chrono::nanoseconds m_time{0};
  unsigned m_transfers = 0;
  unsigned m_failing = 0;
  unsigned m_lethal = 0;
  bool m_isBusDead = false;
  bool m_isServiceKilled = false;
};
