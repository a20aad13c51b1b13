#include "platform/thread_class.h"

#include <cstdint>
#include <cstdio>

#include <malloc.h>
#include <pthread.h>

#include "platform/host/thread_stack.h"

namespace {

// Before main, so that it holds for every thread of the process. All threads share one heap: they allocate
// little, and each further heap would take pages of its own.
[[gnu::constructor]] void boundThreads() {
  pthread_attr_t attributes;
  pthread_attr_init(&attributes);
  pthread_attr_setstacksize(&attributes, THREAD_STACK_SIZE);
  pthread_setattr_default_np(&attributes);
  pthread_attr_destroy(&attributes);
  mallopt(M_ARENA_MAX, 1);
}

} // namespace

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
