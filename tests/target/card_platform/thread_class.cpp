#include "platform/thread_class.h"

ThreadClass::ThreadClass() = default;

ThreadClass::~ThreadClass() = default;

int ThreadClass::run() {
  return 0;
}

void* ThreadStartup(void* object) {
  static_cast<ThreadClass*>(object)->run();
  return nullptr;
}
