#pragma once

class ThreadClass {
public:
  ThreadClass();
  virtual ~ThreadClass();
  virtual int run();
};

void* ThreadStartup(void* object);
