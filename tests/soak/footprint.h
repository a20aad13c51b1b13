// What a process holds: heap, descriptors and threads.
#pragma once

#include <cstddef>
#include <string>

struct Footprint {
  std::size_t heap;        // bytes in use; 0 where the allocator does not tell, as under a sanitizer
  std::size_t descriptors; // open files
  std::size_t threads;
};

Footprint footprint();

// Empty when `last` holds no more than `first`; `heapRoom` bytes are left to the buffers of the test itself.
std::string growth(const Footprint& first, const Footprint& last, std::size_t heapRoom);
