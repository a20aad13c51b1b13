#include "poectl/config/audit_text.h"

#include "components/PoeDriver/power_limits.h"
#include "poectl/status/status_text.h"

#include <algorithm>
#include <optional>
#include <set>
#include <sstream>

namespace {

constexpr char STATE_FORM[] =
    "'P detection=WORD powered=yes|no' with P from 0 to 3 is accepted, and for WORD "
    "unknown, short, cpd_too_high, rsig_too_low, good, rsig_too_high, open_circuit "
    "or illegal";

[[noreturn]] void refuse(const std::string& words) {
  throw PortStateError("the port state '" + words + "' is not understood; " + STATE_FORM);
}

bool setDetection(const std::string& word, PortPowerState& state) {
  const std::optional<std::uint32_t> detection = detectionOf(word);
  state.detection = detection.value_or(0);
  return detection.has_value();
}

bool setPowered(const std::string& word, PortPowerState& state) {
  state.powered = word == "yes";
  return word == "yes" || word == "no";
}

std::string watts(std::uint32_t number) {
  return std::to_string(number) + " W";
}

std::string verdictText(const PowerDecision& step, const PoeConfig& config, const PortPowerStates& states) {
  switch (step.verdict) {
  case PowerVerdict::OFF:
    return "is switched off: takes nothing, is left as it is";
  case PowerVerdict::NOT_DETECTED:
    return std::string("detects ") + detectionWord(states[step.port].detection) +
           ", not good: takes nothing, is left as it is";
  case PowerVerdict::FITS:
    return "takes " + watts(step.needW) + " of " + watts(step.leftW) + ", " + watts(step.leftW - step.needW) +
           " left";
  case PowerVerdict::UNPOWERED:
    return "needs " + watts(step.needW) + " of " + watts(step.leftW) +
           ": does not fit, but has no power: is left as it is";
  case PowerVerdict::RESTARTED:
    return "needs " + watts(step.needW) + " of " + watts(step.leftW) +
           ": does not fit and is powered: is restarted in every cycle";
  case PowerVerdict::UNKNOWN_PRIORITY:
    break;
  }
  return config.port[step.port].adminEnable != 0
             ? "is never served, whatever its state: is restarted in every cycle"
             : "is never served, whatever its state: is switched off in every cycle";
}

std::string stepLine(const PowerDecision& step, const PoeConfig& config, const PortPowerStates& states,
                     const PortNames& names) {
  return "priority " + std::to_string(config.port[step.port].priority) + ", " + portLabel(step.port, names) +
         ": " + verdictText(step, config, states) + "\n";
}

// What makes the sum differ from what one expects of it.
std::string sumNotes(const PoeConfig& config, const PortNames& names) {
  std::string notes;
  for (unsigned number = 0; number < POE_PORTS; number++) {
    const PoePortConfig& port = config.port[number];
    if (port.adminEnable == 0 && port.powerLimit != 0) {
      notes += portLabel(number, names) + " is off, and its limit still counts in the sum\n";
    }
    if (port.adminEnable != 0 && port.powerLimit == 0) {
      notes += portLabel(number, names) + " has the limit 0: it may take " + watts(MAX_PORT_LIMIT_MW / 1000) +
               ", and counts as 0 in the sum\n";
    }
  }
  return notes;
}

std::string restartLine(const std::set<unsigned>& restarted) {
  std::string ports;
  for (const unsigned port : restarted) {
    ports += (ports.empty() ? "" : ", ") + std::to_string(port);
  }
  return "restarted in every cycle: " + (ports.empty() ? "none" : ports) + "\n";
}

} // namespace

void setPortState(const std::string& words, PortPowerStates& states) {
  std::istringstream input(words);
  std::string word;
  if (!(input >> word) || word.size() != 1 || word[0] < '0' || word[0] > '3') {
    refuse(words);
  }
  PortPowerState& state = states[static_cast<std::size_t>(word[0] - '0')];
  while (input >> word) {
    const std::size_t equals = std::min(word.find('='), word.size() - 1);
    const std::string key = word.substr(0, equals);
    const std::string value = word.substr(equals + 1);
    if (!(key == "detection" && setDetection(value, state)) &&
        !(key == "powered" && setPowered(value, state))) {
      refuse(words);
    }
  }
}

std::string auditText(const PoeConfig& config, std::uint32_t bankLimit, const PortPowerStates& states,
                      const PortNames& names) {
  const std::uint32_t need = neededPowerW(config);
  std::string text = "the limits add up to " + watts(need) + ", the bank allows " + watts(bankLimit) + ": ";
  if (need <= bankLimit) {
    return text + "nothing is done\n" + sumNotes(config, names) + restartLine({});
  }
  text += "the ports are served by priority\n" + sumNotes(config, names);
  std::set<unsigned> restarted;
  for (const PowerDecision& step : decidePower(config, bankLimit, states)) {
    text += stepLine(step, config, states, names);
    if (isRestarted(step.verdict)) {
      restarted.insert(step.port);
    }
  }
  return text + restartLine(restarted);
}
