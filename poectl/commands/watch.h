// The command "watch": plays the main process and shows the status messages.
#pragma once

#include <string>

struct WatchOptions {
  double seconds = 0;       // ends after this time; 0: goes on until it is interrupted
  unsigned long count = 0;  // ends after this many messages; 0: does not count
  bool sendExample = false; // sends the example configuration to a service that starts
  bool json = false;        // for programs: a JSON object on a line for each message
  bool events = false;      // shows what changes instead of the messages
  std::string cardControl;  // the simulated card's socket; empty for the default
};

// A live view when standard input and output are a terminal that can show one and neither json, events nor
// count is asked for; else one block or line after the other. Returns the exit status: 0, or 1 when no
// message came or the output cannot be written. Throws QueueError.
int watch(const WatchOptions& options);
