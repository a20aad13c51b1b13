#include "tests/support/doubles/allocation.h"

#include <atomic>
#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t allocations = 0;
thread_local unsigned uncounted = 0;
std::atomic<std::size_t> failingSize{0};

void countAllocation() {
  if (uncounted == 0) {
    allocations++;
  }
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

FailingNew::FailingNew(std::size_t size) {
  failingSize = size;
}

FailingNew::~FailingNew() {
  failingSize = 0;
}

void* operator new(std::size_t size) {
  countAllocation();
  void* block = std::malloc(size != 0 ? size : 1);
  if (block == nullptr) {
    throw std::bad_alloc();
  }
  return block;
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  countAllocation();
  return size == failingSize ? nullptr : std::malloc(size != 0 ? size : 1);
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
