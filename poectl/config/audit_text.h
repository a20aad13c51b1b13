// The replay of the power-budget audit in words, and the port states that a person gives for it.
#pragma once

#include "components/PoeDriver/power_budget.h"
#include "poectl/config/port_names.h"

#include <stdexcept>
#include <string>

// The text is one line.
class PortStateError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// Sets the state of one port from words like "1 detection=good powered=no"; a state that is not named stays.
// Throws PortStateError.
void setPortState(const std::string& words, PortPowerStates& states);

// Which port takes what share in which order, which does not fit, and which is restarted and why.
std::string auditText(const PoeConfig& config, std::uint32_t bankLimit, const PortPowerStates& states,
                      const PortNames& names = {});
