// The control socket of the simulated card.
#pragma once

#include <stdexcept>
#include <string>

class CardError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// What the card answers to a wrong command; the text is the card's own line.
class CardRefusal : public CardError {
public:
  using CardError::CardError;
};

// The socket: `option` unless it is empty, else the environment variable POE_CARD_CONTROL, which poe_card
// sets for the command that it runs, else the one that ./run makes.
std::string cardControlPath(const std::string& option);

// A connection to the card. One thread.
class CardClient {
public:
  // Throws CardError, whose text is one clear line, when there is no card.
  explicit CardClient(const std::string& path);
  CardClient(const CardClient&) = delete;
  CardClient& operator=(const CardClient&) = delete;
  ~CardClient();

  // Sends one command line, without its line end, and returns the lines of the reply, each with its line end;
  // nothing when the card has nothing to tell. Throws CardRefusal for a command that the card does not
  // understand, CardError when no reply comes within 2 s.
  std::string ask(const std::string& words);

  // What a register of the chip holds, without a transfer on its bus. `address` is 0 to 0xCE. Throws
  // CardError.
  unsigned readRegister(unsigned address);

private:
  const std::string m_path;
  int m_socket;
};
