// The control socket of the simulated card inside a machine: passes each line to the card outside, over the
// serial port, and its reply back.
#pragma once

#include "tests/target/scenarios/serial_line.h"

#include <string>

class CardProxy {
public:
  // Makes the socket at `path`. Throws std::system_error.
  CardProxy(const std::string& path, SerialLine& serial);
  ~CardProxy();
  CardProxy(const CardProxy&) = delete;
  CardProxy& operator=(const CardProxy&) = delete;

  // Waits at most `timeout` ms for something to do, and does it.
  void serve(int timeout);

private:
  void takeLines();

  SerialLine& m_serial;
  int m_listener;
  int m_client = -1; // one at a time
  std::string m_received;
};
