// The two message queues as the main process uses them.
//
// A failure throws QueueError, whose text is one clear line.
#pragma once

#include "components/PoeDriver/poe_messages.h"

#include <chrono>
#include <cstddef>
#include <mqueue.h>
#include <stdexcept>
#include <string>

class QueueError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

constexpr long STATUS_QUEUE_MESSAGES = 10; // that "/queueToMain" holds

// "/queueToMain", created on construction and removed on destruction. An existing one belongs to another main
// process, or is left over from one that was killed, and is refused.
class StatusQueue {
public:
  StatusQueue();
  StatusQueue(const StatusQueue&) = delete;
  StatusQueue& operator=(const StatusQueue&) = delete;
  ~StatusQueue();

  // To be waited on with poll.
  int descriptor() const { return m_queue; }

  // Takes one message of at most `size` bytes without waiting. Returns its length; 0 when there is none.
  std::size_t receive(void* buffer, std::size_t size);

private:
  mqd_t m_queue;
};

// How long to wait for room, and a descriptor that ends the wait early when it becomes readable; -1: none.
struct SendWait {
  std::chrono::milliseconds limit{1000};
  int stop = -1;
};

// Sends a configuration to the service on "/queueToPoe".
void sendConfig(const PoeConfig& config, const SendWait& wait = {});

// Whether a queue of this name exists. Throws QueueError when that cannot be known.
bool queueExists(const char* name);

// Removes a queue. False when there was none.
bool removeQueue(const char* name);
