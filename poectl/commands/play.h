// The command "play": carries a scenario file out.
#pragma once

#include <string>

struct PlayOptions {
  std::string file;
  std::string cardControl; // the card's control socket; the default when empty
  std::string log;         // what the service gives to syslog; none when empty
};

// Checks the whole file, creates "/queueToMain", carries the steps out and prints a result for each in the
// form of the Test Anything Protocol. Returns the exit status: 0 when all were ok, else 1. Throws InputError
// before anything is done, and QueueError when the queue cannot be created.
int play(const PlayOptions& options);
