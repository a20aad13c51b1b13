#include "platform/guard.h"

Guard::Guard(pthread_mutex_t* mutex) : m_mutex(mutex) {
  pthread_mutex_lock(m_mutex);
}

Guard::~Guard() {
  pthread_mutex_unlock(m_mutex);
}
