// What the process entry calls, in its tests: the inbound queue and the debug server, both only writing down
// what happens to them (see PosixDoubles for the rest of the calls).
#pragma once

#include "tests/support/doubles/posix_doubles.h"

#include <cerrno>
#include <functional>
#include <string>
#include <vector>

// One receive from the inbound queue.
struct Receive {
  std::vector<char> message; // what is received
  int error = 0;             // or the errno with which it fails
};

class MainDoubles {
public:
  static constexpr int INBOUND = 0x1F;

  MainDoubles();
  ~MainDoubles();
  MainDoubles(const MainDoubles&) = delete;
  MainDoubles& operator=(const MainDoubles&) = delete;

  // The receives to come; after the last, one fails with EINTR.
  std::vector<Receive> receives;
  // errno of the calls of the inbound queue to come; 0: they succeed.
  int openError = 0;
  int getattrError = ENOSYS; // its result is not used
  int closeError = 0;
  int unlinkError = 0;
  // What each receive must be given.
  timespec deadline = {1'700'000'001, 123'456'789};

  // Called at each event.
  std::function<void(const std::string& event)> onEvent;

  // Whether the receive loop would go on, at each event.
  std::vector<bool> running;

  // Everything in its order: "mq_open ...", "mq_timedreceive", "server created 10001 8192", ...
  std::vector<std::string> events;
};
