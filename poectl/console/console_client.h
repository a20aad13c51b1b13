// The debug console of the service, one command at a time.
#pragma once

#include "poectl/host/peer_connection.h"

#include <chrono>
#include <cstdint>
#include <stdexcept>
#include <string>

class ConsoleError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// A command that cannot be sent.
class ConsoleInputError : public ConsoleError {
public:
  using ConsoleError::ConsoleError;
};

// Nothing listens on the console's port.
class ConsoleClosedError : public ConsoleError {
public:
  using ConsoleError::ConsoleError;
};

// Something listens and does not reply in time.
class ConsoleSilentError : public ConsoleError {
public:
  using ConsoleError::ConsoleError;
};

// How long an exchange may take in all, and a descriptor that ends it early when it becomes readable.
struct ConsoleWait {
  std::chrono::milliseconds limit = std::chrono::seconds(10);
  int stop = PeerConnection::NO_STOP;
};

// Sends one command line, without its line end, over a connection of its own and returns the reply with
// control characters made visible. Throws ConsoleError, whose text is one clear line, when nothing listens,
// the console refuses, the reply is larger than PeerConnection::MAX_REPLY_SIZE or not complete in time.
std::string askConsole(const std::string& command, const ConsoleWait& wait = {});

// Whether these words end a session at the console: "quit" and "exit" are not sent.
bool endsConsole(const std::string& words);

// The line to send for the words of a command: they are joined by blanks, and the engine's name is put in
// front of a bare command of the engine ("channel 0"). Throws ConsoleInputError for a word that cannot be
// sent.
std::string consoleLine(const std::string& words);

// True when CONSOLE_PORT cannot be bound because somebody listens on it.
bool consolePortIsTaken();
