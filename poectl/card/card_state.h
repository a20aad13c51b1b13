// What the simulated card says of itself.
#pragma once

#include "components/PoeDriver/poe_messages.h"

#include <array>
#include <string>

struct CardPort {
  std::string device; // the card's telling words: "device=good class=4 watts=22"
  double watts = 0;   // that the device draws
};

struct CardState {
  std::array<CardPort, POE_PORTS> port;
  bool thermal = false;
  bool busOk = true;
};

// Reads the reply to "show". Lines that are not known are passed over.
CardState parseCardState(const std::string& reply);
