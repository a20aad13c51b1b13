#pragma once

#include <pthread.h>

class Guard {
public:
  explicit Guard(pthread_mutex_t* mutex);
  ~Guard();

private:
  pthread_mutex_t* m_mutex;
};
