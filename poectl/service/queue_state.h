// How full a message queue is and who serves it, without taking a message.
#pragma once

#include "poectl/service/queue_readers.h"

#include <string>

struct QueueState {
  bool exists = false;
  long messages = 0;    // that wait in the queue
  long maxMessages = 0; // that it holds
  std::string problem;  // why the queue cannot be looked at, one line; empty when it can, or does not exist
  QueueReaders readers; // empty for a queue that does not exist

  bool isFull() const { return exists && problem.empty() && messages >= maxMessages; }
  bool isServed() const { return !readers.found.empty(); }
  // "9 of 10 messages wait, process 812 (poe_service) reads it".
  std::string text() const;
};

QueueState queueState(const char* name);
