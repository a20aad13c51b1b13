#include "poectl/card/card_state.h"

#include "text/text.h"

#include <cstdlib>
#include <sstream>
#include <vector>

namespace {

const std::string PORT = "port ";
const std::string WATTS = " watts=";
constexpr std::size_t DEVICE = 8; // where the words begin in "port 0: device=..."

bool startsWith(const std::string& text, const std::string& start) {
  return text.compare(0, start.size(), start) == 0;
}

// The phase is in the port's state, and what is not there needs no word.
std::string tellingWords(const std::string& words) {
  std::istringstream input(words);
  std::vector<std::string> telling;
  for (std::string word; input >> word;) {
    if (!startsWith(word, "phase=") && word != "fault=none" && word != "class-error=none") {
      telling.push_back(word);
    }
  }
  return text::joined(telling);
}

void readPort(const std::string& line, CardState& state) {
  const auto port = static_cast<unsigned>(line[PORT.size()] - '0');
  if (port >= POE_PORTS) {
    return;
  }
  state.port[port].device = tellingWords(line.substr(DEVICE));
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
