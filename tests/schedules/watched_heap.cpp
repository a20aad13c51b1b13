#include "tests/schedules/watched_heap.h"

#include "tests/schedules/scheduler.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr unsigned char FREED = 0xDD;

struct alignas(16) Header {
  Header* next; // of the freed blocks
  std::size_t size;
  bool isWatched;
};

Header* g_freed = nullptr;
std::size_t g_watched = 0; // blocks of the service that are there

void* allocate(std::size_t size) {
  void* const memory = std::malloc(sizeof(Header) + size);
  if (memory == nullptr) {
    std::abort();
  }
  auto* const header = new (memory) Header{nullptr, size, Scheduler::isServiceRunning()};
  g_watched += header->isWatched ? 1 : 0;
  return header + 1;
}

void release(void* block) {
  if (block == nullptr) {
    return;
  }
  Header* const header = static_cast<Header*>(block) - 1;
  if (!header->isWatched) {
    std::free(header);
    return;
  }
  g_watched--;
  std::memset(block, FREED, header->size);
  header->next = g_freed;
  g_freed = header;
}

} // namespace

std::string endOfWatchedHeap() {
  bool isWritten = false;
  while (g_freed != nullptr) {
    Header* const header = g_freed;
    // All bytes have the value of the first.
    const auto* const bytes = reinterpret_cast<const unsigned char*>(header + 1);
    isWritten |=
        header->size != 0 && (*bytes != FREED || std::memcmp(bytes, bytes + 1, header->size - 1) != 0);
    g_freed = header->next;
    std::free(header);
  }
  if (isWritten) {
    return "memory is written after it was freed";
  }
  return g_watched == 0 ? "" : std::to_string(g_watched) + " blocks of memory are not freed";
}

void* operator new(std::size_t size) {
  return allocate(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
  return allocate(size);
}
void operator delete(void* block) noexcept {
  release(block);
}
void operator delete(void* block, std::size_t) noexcept {
  release(block);
}
void operator delete(void* block, const std::nothrow_t&) noexcept {
  release(block);
}
