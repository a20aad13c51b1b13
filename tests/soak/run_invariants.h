// What must hold of the service after every cycle of a random run, as known from the card, the stored
// configuration and the status message alone.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "tests/support/model/random_card.h"

#include <array>
#include <cstdint>
#include <string>

class RunInvariants {
public:
  explicit RunInvariants(RandomCard& card) : m_card(card) {}

  // To be told of each configuration that the engine has been given while it was active.
  void stored(const PoeConfig& config) { m_config = config; }

  // Checks the status of a cycle that has just ended for what holds whatever other threads do meanwhile. The
  // result names what does not hold, and is empty when all holds.
  std::string check(const PoeStatus& status);

  // The same for what holds after a cycle without a failed transfer.
  std::string checkHealthy(const PoeStatus& status) const;

  // How often something could be checked.
  std::uint64_t events = 0;     // counted exactly
  std::uint64_t wrapped = 0;    // intervals in which a counter wrapped, checked modulo 4
  std::uint64_t lostCounts = 0; // intervals in which the chip lost its counters, not checked

private:
  static std::string checkValues(const PoeStatus& status);
  std::string checkCounters(const PoeStatus& status);
  std::string checkPort(unsigned port, const PoePortStatus& status) const;

  RandomCard& m_card;
  PoeConfig m_config{};
  PoeStatus m_before{}; // the status of the cycle before
};
