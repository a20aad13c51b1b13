#include "platform/guard.h"

#include "platform/host/guard_release.h"

namespace {

// What one thread has to know about its own Guards. Zero-initialised, so that reaching it costs no more than
// an offset from the thread pointer.
struct Holds {
  unsigned guards;
  void (*atLastRelease)();
};

thread_local Holds t_holds;

// Who wants a mutex waits for it in the door, and whoever comes later waits before the door. Without it a
// thread that releases the mutex and wants it again at once, as a busy console does, would overtake those
// that wait.
pthread_mutex_t g_door = PTHREAD_MUTEX_INITIALIZER;

} // namespace

Guard::Guard(pthread_mutex_t* mutex) : m_mutex(mutex) {
  if (t_holds.guards == 0) {
    pthread_mutex_lock(&g_door);
    pthread_mutex_lock(m_mutex);
    pthread_mutex_unlock(&g_door);
  } else { // somebody in the door may wait for what this thread holds
    pthread_mutex_lock(m_mutex);
  }
  ++t_holds.guards;
}

Guard::~Guard() {
  // The action comes after the unlock: it takes a lock of its own, and a thread never waits for that one with
  // the mutex in hand.
  pthread_mutex_unlock(m_mutex);
  if (--t_holds.guards == 0 && t_holds.atLastRelease != nullptr) {
    void (*const action)() = t_holds.atLastRelease;
    t_holds.atLastRelease = nullptr;
    action();
  }
}

bool threadHoldsGuard() {
  return t_holds.guards != 0;
}

void atLastGuardRelease(void (*action)()) {
  t_holds.atLastRelease = action;
}
