#include "platform/host/console/telnet_filter.h"

#include <algorithm>

namespace {

constexpr unsigned char SE = 240;
constexpr unsigned char SB = 250;
constexpr unsigned char WILL = 251; // then WONT, DO, DONT
constexpr unsigned char IAC = 255;

} // namespace

std::size_t TelnetFilter::filter(char* bytes, std::size_t count) {
  const char* const end = std::remove_if(
      bytes, bytes + count, [this](char byte) { return !keeps(static_cast<unsigned char>(byte)); });
  return static_cast<std::size_t>(end - bytes);
}

bool TelnetFilter::keeps(unsigned char byte) {
  switch (m_state) {
  case State::DATA:
    m_state = byte == IAC ? State::COMMAND : State::DATA;
    return byte != IAC;
  case State::COMMAND:
    return keepsBehindIac(byte);
  case State::OPTION:
    m_state = State::DATA;
    break;
  case State::SUBNEGOTIATION:
    m_state = byte == IAC ? State::SUBNEGOTIATION_COMMAND : State::SUBNEGOTIATION;
    break;
  case State::SUBNEGOTIATION_COMMAND:
    m_state = byte == SE ? State::DATA : State::SUBNEGOTIATION;
    break;
  }
  return false;
}

// A doubled IAC stands for a byte of that value.
bool TelnetFilter::keepsBehindIac(unsigned char byte) {
  m_state = State::DATA;
  if (byte == SB) {
    m_state = State::SUBNEGOTIATION;
  } else if (byte >= WILL && byte < IAC) {
    m_state = State::OPTION;
  }
  return byte == IAC;
}
