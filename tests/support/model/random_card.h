// A simulated card to which anything happens at random: devices are plugged, unplugged and overloaded, the
// chip loses its power, goes missing and reports faults, the bus fails in episodes. It counts the events by
// itself, so that the service's counters can be checked against what has happened.
//
// The same seed gives the same events. Bus side and test side may be used from different threads.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "simulator/chip/chip_model.h"
#include "tests/support/doubles/i2c_bus.h"

#include <array>
#include <cstdint>
#include <mutex>
#include <random>

class RandomCard : public BusDevice {
public:
  explicit RandomCard(std::uint64_t seed) : m_random(seed) {}

  bool read(std::uint8_t reg, std::uint8_t* value) override;
  bool write(std::uint8_t reg, std::uint8_t value) override;

  // A second passes, with whatever happens in it; then a cycle of the service begins.
  void passOneSecond();

  // Nothing fails any more: the bus is good, the chip is there, cool and without faults.
  void calmDown();

  // The registers as they are, past the bus.
  unsigned reg(unsigned address);

  // A random number below `limit`.
  unsigned below(unsigned limit);
  bool once(unsigned inSoMany) { return below(inSoMany) == 0; }

  // A random configuration, most of them sensible.
  PoeConfig configuration();

  // Whether all transfers of the cycle that began last were good.
  bool isCycleHealthy();

  // By port, in the order of the registers: the events since the counters were last read completely.
  struct Events {
    std::array<std::array<unsigned, 6>, 4> counts{};
    bool isCounterLost = false; // the chip has lost its power
  };

  // Whether the counters have been read completely since the last call; `events` are those before that.
  bool takeCounted(Events* events);

private:
  enum class Trouble { None, OneTransfer, Some, All };

  bool transfer(bool isGood);
  bool failsNow();
  void noteEvents();
  void noteCounterRead(std::uint8_t reg, bool isGood);
  void disturbPort(unsigned port);
  void disturbChip();
  void disturbBus();

  std::mutex m_mutex;
  std::mt19937_64 m_random;
  ChipModel m_chip;
  Trouble m_trouble = Trouble::None;
  unsigned m_troubleLeft = 0; // s
  unsigned m_absenceLeft = 0; // s
  unsigned m_failingTransfer = 0;
  unsigned m_transfers = 0; // of this cycle
  unsigned m_failed = 0;
  std::array<unsigned, 6> m_counters{}; // the registers as they were last
  Events m_events;
  unsigned m_countersRead = 0; // in a row
  bool m_isCounted = false;
  Events m_counted;
};
