// Base class of an object that runs on a thread of its own.
//
// The owner creates the thread itself, with pthread_create(&thread, attributes, ThreadStartup, object),
// and joins it before it destroys the object.
#pragma once

class ThreadClass {
public:
  ThreadClass() = default;
  ThreadClass(const ThreadClass&) = delete;
  ThreadClass& operator=(const ThreadClass&) = delete;
  virtual ~ThreadClass();

  // The thread's work; runs on the thread that ThreadStartup was given to. The result is the thread's exit
  // value. The base version prints "..in run" and returns 0.
  virtual int run();
};

// Start routine for pthread_create. `object` is a ThreadClass*; its run() is called and its result is
// returned as the thread's exit value.
void* ThreadStartup(void* object);
