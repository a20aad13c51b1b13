// What the service holds, as the kernel tells it.
#pragma once

#include <cstddef>
#include <sys/types.h>

struct ServiceFootprint {
  std::size_t threads;
  std::size_t descriptors;
  long privateMemory; // kB
};

// The least that it holds within a part of a second: in between it has a queue open, and a connection that
// its client has closed is still to be noticed.
ServiceFootprint footprintOf(pid_t pid);
