#include "platform/thread_class.h"

#include <cstdint>
#include <cstdio>

ThreadClass::~ThreadClass() = default;

int ThreadClass::run() {
  std::puts("..in run");
  return 0;
}

void* ThreadStartup(void* object) {
  const std::intptr_t result = static_cast<ThreadClass*>(object)->run();
  // NOLINTNEXTLINE(performance-no-int-to-ptr): the exit value of a thread has no other type.
  return reinterpret_cast<void*>(result);
}
