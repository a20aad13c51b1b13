// Counts the heap allocations made with new, and makes new (std::nothrow) of one size yield nothing.
#pragma once

#include <cstddef>

// Allocations made by the calling thread with any form of new so far.
std::size_t allocationCount();

// While it exists, the allocations of its thread do not count: the doubles' own.
class UncountedAllocations {
public:
  UncountedAllocations();
  UncountedAllocations(const UncountedAllocations&) = delete;
  UncountedAllocations& operator=(const UncountedAllocations&) = delete;
  ~UncountedAllocations();
};

// While it exists, new (std::nothrow) of objects of exactly `size` bytes yields null.
class FailingNew {
public:
  explicit FailingNew(std::size_t size);
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;
  ~FailingNew();
};
