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

// While it exists, allocation `number` of its thread (0 first) fails: any form of new, by an exception or by
// null.
class FailingAllocation {
public:
  explicit FailingAllocation(std::size_t number);
  FailingAllocation(const FailingAllocation&) = delete;
  FailingAllocation& operator=(const FailingAllocation&) = delete;
  ~FailingAllocation();

  // Whether there have been that many.
  bool hasFailed() const;
};

// While it exists, new (std::nothrow) of objects of exactly `size` bytes yields null.
class FailingNew {
public:
  explicit FailingNew(std::size_t size);
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;
  ~FailingNew();
};
