#include "poectl/card_state.h"

#include <cstdlib>
#include <sstream>

namespace {

const std::string PORT = "port ";
const std::string WATTS = " watts=";
const std::string PHASE = " phase=";
constexpr std::size_t DEVICE = 8; // where the words begin in "port 0: device=..."

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

// The port's state says as much as the phase.
std::string withoutPhase(std::string words) {
  const std::size_t start = words.find(PHASE);
  if (start != std::string::npos) {
    words.erase(start, words.find(' ', start + 1) - start);
  }
  return words;
}

void readPort(const std::string& line, CardState& state) {
  const auto port = static_cast<unsigned>(line[PORT.size()] - '0');
  if (port >= POE_PORTS) {
    return;
  }
  state.port[port].device = withoutPhase(line.substr(DEVICE));
  const std::size_t watts = line.find(WATTS);
  if (watts != std::string::npos) {
    state.port[port].watts = std::strtod(line.c_str() + watts + WATTS.size(), nullptr);
  }
}

} // namespace

CardState parseCardState(const std::string& reply) {
  CardState state;
  std::istringstream lines(reply);
  for (std::string line; std::getline(lines, line);) {
    if (startsWith(line, PORT) && line.size() > DEVICE) {
      readPort(line, state);
    } else if (startsWith(line, "thermal=")) {
      state.thermal = line == "thermal=on";
    } else if (startsWith(line, "bus=")) {
      state.busOk = line == "bus=ok";
    }
  }
  return state;
}
