// The control socket of the simulated card.
#pragma once

#include "poectl/host/peer_connection.h"

#include <memory>
#include <stdexcept>
#include <string>

class CardError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// There is no card, or not yet.
class CardAbsent : public CardError {
public:
  using CardError::CardError;
};

// What the card answers to a wrong command; the text is the card's own line.
class CardRefusal : public CardError {
public:
  using CardError::CardError;
};

// A connection to the card, which must be one of the same user or root's. One thread.
class CardClient {
public:
  // `stop` ends a wait early when it becomes readable; it stays open longer than the client. Throws
  // CardAbsent, whose text is one clear line, when there is no card, CardError when it cannot be used.
  explicit CardClient(const std::string& path, int stop = PeerConnection::NO_STOP);

  // Sends one command line, without its line end, and returns the lines of the reply, each with its line end
  // and with control characters made visible; nothing when the card has nothing to tell. Throws CardRefusal
  // for a command that the card does not understand, CardError when no reply of at most
  // PeerConnection::MAX_REPLY_SIZE is complete within 2 s. The client cannot be used after a CardError.
  std::string ask(const std::string& words);

  // What a register of the chip holds, without a transfer on its bus. `address` is 0 to 0xCE. Throws
  // CardError.
  unsigned readRegister(unsigned address);

private:
  std::string conversation(const std::string& request);

  const std::string m_path;
  const std::unique_ptr<PeerConnection> m_connection;
};
