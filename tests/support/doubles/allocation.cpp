#include "tests/support/doubles/allocation.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t allocations = 0;
thread_local unsigned uncounted = 0;
std::atomic<std::size_t> failingSize{0};
thread_local bool failing = false;
thread_local std::size_t allocationsUntilFailure = 0;
thread_local bool failed = false;

// Counts the allocation. True when it is to fail.
bool countAllocation() {
  if (uncounted != 0) {
    return false;
  }
  allocations++;
  if (!failing || failed) {
    return false;
  }
  failed = allocationsUntilFailure == 0;
  allocationsUntilFailure--;
  return failed;
}

} // namespace

std::size_t allocationCount() {
  return allocations;
}

UncountedAllocations::UncountedAllocations() {
  uncounted++;
}

UncountedAllocations::~UncountedAllocations() {
  uncounted--;
}

FailingAllocation::FailingAllocation(std::size_t number) {
  allocationsUntilFailure = number;
  failed = false;
  failing = true;
}

FailingAllocation::~FailingAllocation() {
  failing = false;
}

bool FailingAllocation::hasFailed() const {
  return failed;
}

FailingNew::FailingNew(std::size_t size) {
  failingSize = size;
}

FailingNew::~FailingNew() {
  failingSize = 0;
}

void* operator new(std::size_t size) {
  const bool fails = countAllocation();
  void* block = fails ? nullptr : std::malloc(size != 0 ? size : 1);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return countAllocation() || size == failingSize ? nullptr : std::malloc(size != 0 ? size : 1);
}

void operator delete(void* block) noexcept {
  std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
  std::free(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  std::free(block);
}
