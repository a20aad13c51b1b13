// Runs threads one at a time and decides at each of their calls which one runs next.
//
// A run begins with one thread and ends when all threads have ended. Every call of pthread, of a queue, a
// socket or a sleep is a step: before it, or where it waits, another thread may take over. A Search chooses
// among the threads that can run. Time is simulated: it moves on when every thread waits, or when the Search
// has a waiting thread time out although another one could run, as if that one were slow.
//
// run() belongs to the program's own thread, everything else to the threads of the run. A failure prints the
// schedule and ends the process.
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <pthread.h>
#include <semaphore.h>
#include <string>
#include <utility>
#include <vector>

// The threads that can take the next step. The first is the one that takes it by default: the running thread
// if it can go on, else the one with the lowest number, or with the earliest time-out when all wait.
struct Candidates {
  static constexpr unsigned MAX = 16;

  unsigned count = 0;
  std::array<std::uint8_t, MAX> thread{};
  std::array<bool, MAX> preempts{}; // the choice takes the processor from a thread that could go on
  std::array<bool, MAX> timesOut{}; // the choice moves the time on

  void add(unsigned number, bool isPreemption, bool isTimeOut);
};

// Chooses the schedules of a series of runs.
class Search {
public:
  virtual ~Search() = default;

  // Which of the candidates, of which there are at least two, takes the step with this number.
  virtual unsigned choose(unsigned step, const Candidates& candidates) = 0;
};

// Where a schedule differs from the default: at this step this thread.
using Schedule = std::vector<std::pair<unsigned, unsigned>>;

// "12:3,40:0", and "-" for a schedule that differs nowhere.
std::string textOf(const Schedule& schedule);
bool scheduleFrom(const std::string& text, Schedule* schedule);

class Scheduler {
public:
  using Time = std::uint64_t; // in nanoseconds, from the start of the run
  static constexpr Time NEVER = ~Time{0};
  static constexpr Time SECOND = 1'000'000'000;
  // How much later than another thread's time-out a running thread may be.
  static constexpr Time MAX_DELAY = SECOND;
  static constexpr unsigned MAX_THREADS = 8;
  static constexpr unsigned MAX_STEPS = 20000; // of a run that ends

  // Runs `body` and the threads that it creates. `end` is called when all have ended, and may still fail.
  void run(const std::string& scene, Search& search, std::function<void()> body,
           const std::function<void()>& end);

  // True on a thread of the run, outside of the scheduler and of the tests' own code.
  static bool isServiceRunning();

  // The threads of the run, by their calls.
  int create(pthread_t* thread, void* (*routine)(void*), void* argument, const std::string& name);
  int join(pthread_t thread, void** result);
  void lock(pthread_mutex_t* mutex);
  void unlock(pthread_mutex_t* mutex);
  // False at the time-out.
  bool wait(pthread_cond_t* condition, pthread_mutex_t* mutex, Time end);
  void notifyAll(pthread_cond_t* condition);
  void sleepUntil(Time end);

  // Another thread may take over here.
  void step(const char* call);

  // Waits until `isReady` or the time; false at the time-out.
  bool waitUntil(const char* call, Time end, const std::function<bool()>& isReady);

  Time now() const { return m_now; }
  // How much of it has passed although a thread could run.
  Time delay() const { return m_delay; }
  unsigned steps() const { return m_step; }
  const Schedule& schedule() const { return m_schedule; }

  // True when the calling thread holds a recursive mutex.
  bool holdsRecursiveMutex() const;

  // Prints the failure, the schedule that leads to it and its last steps, and ends the process.
  [[noreturn]] void fail(const std::string& what);

private:
  struct Thread {
    std::string name;
    pthread_t id{};
    sem_t turn{};
    void* (*routine)(void*) = nullptr;
    void* argument = nullptr;
    void* result = nullptr;
    bool hasEnded = false;
    const std::function<bool()>* isReady = nullptr; // what the thread waits for, null: for nothing
    Time end = NEVER;                               // of its wait
  };

  struct Mutex {
    pthread_mutex_t* mutex;
    unsigned owner;
    unsigned depth;
  };

  struct Waiter {
    pthread_cond_t* condition;
    unsigned thread;
  };

  struct Trace {
    unsigned thread;
    const char* call;
  };

  static void* threadMain(void* thread);
  unsigned running() const;
  bool canRun(const Thread& thread) const;
  Candidates candidates(unsigned self) const;
  void addTimeOuts(Candidates* found) const;
  unsigned choose(const Candidates& found);
  void giveTurn(unsigned self);
  void end(Thread& self);
  Mutex* held(const pthread_mutex_t* mutex);
  void acquire(pthread_mutex_t* mutex);
  void release(pthread_mutex_t* mutex);

  unsigned m_runs = 0;
  Search* m_search = nullptr;
  std::string m_scene;
  std::array<Thread, MAX_THREADS> m_threads;
  unsigned m_threadCount = 0;
  sem_t m_over{};
  std::vector<Mutex> m_mutexes; // those that are locked
  std::vector<Waiter> m_waiters;
  Time m_now = 0;
  Time m_delay = 0;
  unsigned m_step = 0;
  Schedule m_schedule;
  std::vector<Trace> m_trace;
};

// The scheduler of the process.
Scheduler& scheduler();

// While one exists, its thread runs code of the tests: its calls are the C library's and its memory is not
// watched.
class TestCode {
public:
  TestCode();
  ~TestCode();
  TestCode(const TestCode&) = delete;
  TestCode& operator=(const TestCode&) = delete;
};
