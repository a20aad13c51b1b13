// Scoped lock of a POSIX mutex: the constructor locks, the destructor unlocks.
//
// A Guard belongs to the thread and the scope that made it. It does not own the mutex, which must outlive it.
// Several Guards of one thread may hold one mutex when that mutex is recursive.
#pragma once

#include "platform/thread_annotations.h"

#include <pthread.h>

class POE_SCOPED_LOCK Guard {
public:
  explicit Guard(pthread_mutex_t* mutex) POE_ACQUIRES(mutex);
  Guard(const Guard&) = delete;
  Guard& operator=(const Guard&) = delete;
  ~Guard() POE_RELEASES;

private:
  pthread_mutex_t* m_mutex;
};
