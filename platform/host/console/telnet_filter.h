// Takes the telnet protocol's own bytes (RFC 854) out of what a console client sends, so that negotiation
// does not become part of a command. Nothing is answered: to a client an option without an answer is
// refused.
//
// For one thread; one object for each connection.
#pragma once

#include <cstddef>

class TelnetFilter {
public:
  // Removes the protocol's bytes from the `count` bytes at `bytes`, in place, and returns how many are left.
  // A sequence may go on in the bytes of the next call.
  std::size_t filter(char* bytes, std::size_t count);

private:
  enum class State {
    DATA,
    COMMAND,               // after IAC
    OPTION,                // after IAC and WILL, WONT, DO or DONT
    SUBNEGOTIATION,        // after IAC SB, up to IAC SE
    SUBNEGOTIATION_COMMAND // after an IAC in it
  };

  bool keeps(unsigned char byte);
  bool keepsBehindIac(unsigned char byte);

  State m_state = State::DATA;
};
