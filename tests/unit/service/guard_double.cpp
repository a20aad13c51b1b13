#include "tests/unit/service/guard_double.h"

#include "platform/guard.h"

#include <atomic>
#include <utility>

namespace {

thread_local unsigned guards = 0;
thread_local void (*lastRelease)() = nullptr;
std::atomic<unsigned> wanted{0};

} // namespace

Guard::Guard(pthread_mutex_t* mutex) : m_mutex(mutex) {
  ++wanted;
  pthread_mutex_lock(m_mutex);
  --wanted;
  ++guards;
}

Guard::~Guard() {
  pthread_mutex_unlock(m_mutex);
  if (--guards == 0 && lastRelease != nullptr) {
    std::exchange(lastRelease, nullptr)();
  }
}

bool threadHoldsGuard() {
  return guards != 0;
}

void atLastGuardRelease(void (*action)()) {
  lastRelease = action;
}

unsigned guardsWanted() {
  return wanted;
}
