// The command "watch": plays the main process and shows the status messages.
#pragma once

struct WatchOptions {
  double seconds = 0; // ends after this time; 0: goes on until it is interrupted
  bool sendExample =
      false; // sends the example configuration when the first message has shown that the service runs
};

// Returns the exit status: 0, or 1 when no message came. Throws QueueError.
int watch(const WatchOptions& options);
