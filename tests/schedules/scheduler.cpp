#include "tests/schedules/scheduler.h"

#include <algorithm>
#include <cerrno>
#include <cinttypes>
#include <cstdio>
#include <cstdlib>
#include <cstring>

extern "C" {
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                          void* argument);
int __real_pthread_join(pthread_t thread, void** result);
}

namespace {

constexpr unsigned NO_THREAD = ~0U;
constexpr std::size_t SHOWN_STEPS = 60;
constexpr int RECURSIVE = PTHREAD_MUTEX_RECURSIVE_NP;

thread_local unsigned t_number = NO_THREAD; // of the run's threads
thread_local unsigned t_testCode = 0;

const std::function<bool()> NEVER_READY = [] { return false; };

int kindOf(const pthread_mutex_t* mutex) {
  return mutex->__data.__kind & 3;
}

void take(sem_t* turn) {
  while (sem_wait(turn) != 0) {
  }
}

} // namespace

TestCode::TestCode() {
  t_testCode++;
}

TestCode::~TestCode() {
  t_testCode--;
}

Scheduler& scheduler() {
  static Scheduler theScheduler;
  return theScheduler;
}

void Candidates::add(unsigned number, bool isPreemption, bool isTimeOut) {
  thread.at(count) = static_cast<std::uint8_t>(number);
  timesOut.at(count) = isTimeOut;
  preempts.at(count) = isPreemption;
  count++;
}

std::string textOf(const Schedule& schedule) {
  std::string text;
  for (const auto& [step, thread] : schedule) {
    text += (text.empty() ? "" : ",") + std::to_string(step) + ":" + std::to_string(thread);
  }
  return text.empty() ? "-" : text;
}

bool scheduleFrom(const std::string& text, Schedule* schedule) {
  schedule->clear();
  const char* at = text.c_str();
  while (text != "-") {
    unsigned step = 0;
    unsigned thread = 0;
    int length = 0;
    if (std::sscanf(at, "%9u:%1u%n", &step, &thread, &length) != 2) {
      return false;
    }
    schedule->emplace_back(step, thread);
    at += length;
    if (*at == '\0') {
      return true;
    }
    if (*at++ != ',') {
      return false;
    }
  }
  return true;
}

void Scheduler::run(const std::string& scene, Search& search, std::function<void()> body,
                    const std::function<void()>& end) {
  m_runs++;
  m_search = &search;
  m_scene = scene;
  m_threadCount = 0;
  m_mutexes.clear();
  m_waiters.clear();
  m_now = 0;
  m_delay = 0;
  m_step = 0;
  m_schedule.clear();
  m_trace.clear();
  sem_init(&m_over, 0, 0);
  pthread_t first{};
  create(
      &first,
      [](void* work) -> void* {
        (*static_cast<std::function<void()>*>(work))();
        return nullptr;
      },
      &body, "main");
  sem_post(&m_threads.front().turn);
  take(&m_over);
  __real_pthread_join(first, nullptr);
  end();
  for (unsigned i = 1; i < m_threadCount; i++) {
    if (m_threads.at(i).id != 0) {
      fail("nobody has joined " + m_threads.at(i).name);
    }
  }
}

bool Scheduler::isServiceRunning() {
  return t_number != NO_THREAD && t_testCode == 0;
}

unsigned Scheduler::running() const {
  return t_number;
}

bool Scheduler::canRun(const Thread& thread) const {
  return !thread.hasEnded && (thread.isReady == nullptr || (*thread.isReady)() || thread.end <= m_now);
}

Candidates Scheduler::candidates(unsigned self) const {
  Candidates found;
  const bool selfCanRun = canRun(m_threads.at(self));
  if (selfCanRun) {
    found.add(self, false, false);
  }
  for (unsigned i = 0; i < m_threadCount; i++) {
    if (i != self && canRun(m_threads.at(i))) {
      found.add(i, selfCanRun, false);
    }
  }
  addTimeOuts(&found);
  return found;
}

void Scheduler::addTimeOuts(Candidates* found) const {
  Time earliest = NEVER;
  if (found->count == 0) {
    for (unsigned i = 0; i < m_threadCount; i++) {
      earliest = m_threads.at(i).hasEnded ? earliest : std::min(earliest, m_threads.at(i).end);
    }
  }
  const bool someCanRun = found->count != 0;
  const Time latest = someCanRun ? m_now + MAX_DELAY : earliest;
  for (unsigned i = 0; i < m_threadCount; i++) {
    const Thread& thread = m_threads.at(i);
    if (!thread.hasEnded && !canRun(thread) && thread.end != NEVER && thread.end <= latest) {
      found->add(i, someCanRun, true);
    }
  }
}

unsigned Scheduler::choose(const Candidates& found) {
  if (found.count == 0) {
    std::string waiting;
    for (unsigned i = 0; i < m_threadCount; i++) {
      const auto last = std::find_if(m_trace.rbegin(), m_trace.rend(),
                                     [i](const Trace& entry) { return entry.thread == i; });
      waiting += m_threads.at(i).hasEnded || last == m_trace.rend()
                     ? ""
                     : " " + m_threads.at(i).name + " in " + last->call + ";";
    }
    fail("deadlock:" + waiting + " no thread can go on");
  }
  const unsigned index = found.count == 1 ? 0 : m_search->choose(m_step, found);
  if (index >= found.count) {
    fail("the schedule does not fit: the run is not the same again");
  }
  const unsigned next = found.thread.at(index);
  if (index != 0) {
    m_schedule.emplace_back(m_step, next);
  }
  return next;
}

// Lets the thread that is chosen take the next step, and returns when it is the caller's turn again.
void Scheduler::giveTurn(unsigned self) {
  const TestCode testCode;
  if (++m_step > MAX_STEPS) {
    fail("the run does not end");
  }
  const Candidates found = candidates(self);
  const unsigned next = choose(found);
  Thread& thread = m_threads.at(next);
  if (!canRun(thread)) {
    m_delay += found.timesOut.front() ? 0 : thread.end - m_now;
    m_now = thread.end;
  }
  if (next != self) {
    sem_post(&thread.turn);
    if (!m_threads.at(self).hasEnded) {
      take(&m_threads.at(self).turn);
    }
  }
}

void Scheduler::step(const char* call) {
  if (m_trace.size() < std::size_t{MAX_STEPS} * 2) {
    m_trace.push_back({running(), call});
  }
  giveTurn(running());
}

bool Scheduler::waitUntil(const char* call, Time end, const std::function<bool()>& isReady) {
  Thread& self = m_threads.at(running());
  self.isReady = &isReady;
  self.end = end;
  step(call);
  self.isReady = nullptr;
  self.end = NEVER;
  return isReady();
}

int Scheduler::create(pthread_t* thread, void* (*routine)(void*), void* argument, const std::string& name) {
  const TestCode testCode;
  if (m_threadCount == MAX_THREADS) {
    fail("too many threads");
  }
  Thread& created = m_threads.at(m_threadCount);
  created.name = name;
  created.routine = routine;
  created.argument = argument;
  created.hasEnded = false;
  created.isReady = nullptr;
  created.end = NEVER;
  sem_init(&created.turn, 0, 0);
  m_threadCount++;
  if (__real_pthread_create(&created.id, nullptr, threadMain, &created) != 0) {
    fail("no thread");
  }
  *thread = created.id;
  if (running() != NO_THREAD) {
    step("pthread_create");
  }
  return 0;
}

void* Scheduler::threadMain(void* thread) {
  auto& self = *static_cast<Thread*>(thread);
  take(&self.turn);
  t_number = static_cast<unsigned>(&self - scheduler().m_threads.data());
  self.result = self.routine(self.argument);
  t_testCode++; // what the C library does at the end of the thread
  scheduler().end(self);
  return self.result;
}

void Scheduler::end(Thread& self) {
  self.hasEnded = true;
  m_trace.push_back({running(), "end of the thread"});
  const bool isOver = std::all_of(m_threads.begin(), m_threads.begin() + m_threadCount,
                                  [](const Thread& thread) { return thread.hasEnded; });
  if (isOver) {
    sem_post(&m_over);
  } else {
    giveTurn(running());
  }
}

int Scheduler::join(pthread_t thread, void** result) {
  const TestCode testCode;
  const auto joined =
      std::find_if(m_threads.begin(), m_threads.begin() + m_threadCount,
                   [thread](const Thread& other) { return pthread_equal(other.id, thread) != 0; });
  if (thread == 0 || joined == m_threads.begin() + m_threadCount) {
    fail("a thread is joined that there is not");
  }
  waitUntil("pthread_join", NEVER, [&] { return joined->hasEnded; });
  joined->id = 0;
  return __real_pthread_join(thread, result);
}

Scheduler::Mutex* Scheduler::held(const pthread_mutex_t* mutex) {
  const auto found = std::find_if(m_mutexes.begin(), m_mutexes.end(),
                                  [mutex](const Mutex& entry) { return entry.mutex == mutex; });
  return found == m_mutexes.end() ? nullptr : &*found;
}

bool Scheduler::holdsRecursiveMutex() const {
  return std::any_of(m_mutexes.begin(), m_mutexes.end(), [this](const Mutex& entry) {
    return entry.owner == running() && kindOf(entry.mutex) == RECURSIVE;
  });
}

void Scheduler::acquire(pthread_mutex_t* mutex) {
  waitUntil("pthread_mutex_lock", NEVER, [&] { return held(mutex) == nullptr; });
  m_mutexes.push_back({mutex, running(), 1});
}

void Scheduler::lock(pthread_mutex_t* mutex) {
  const TestCode testCode;
  Mutex* const entry = held(mutex);
  if (entry == nullptr || entry->owner != running()) {
    acquire(mutex);
  } else if (kindOf(mutex) == RECURSIVE) {
    entry->depth++;
  } else {
    fail("a thread locks a mutex that it holds");
  }
}

void Scheduler::release(pthread_mutex_t* mutex) {
  Mutex* const entry = held(mutex);
  if (entry == nullptr || entry->owner != running()) {
    fail("a thread unlocks a mutex that it does not hold");
  }
  if (--entry->depth == 0) {
    *entry = m_mutexes.back();
    m_mutexes.pop_back();
  }
}

void Scheduler::unlock(pthread_mutex_t* mutex) {
  const TestCode testCode;
  release(mutex);
  if (held(mutex) == nullptr) {
    step("pthread_mutex_unlock");
  }
}

bool Scheduler::wait(pthread_cond_t* condition, pthread_mutex_t* mutex, Time end) {
  const TestCode testCode;
  const unsigned self = running();
  release(mutex);
  m_waiters.push_back({condition, self});
  const auto isWaiting = [&](const Waiter& waiter) { return waiter.thread == self; };
  const bool isNotified = waitUntil(
      "pthread_cond_wait", end, [&] { return std::none_of(m_waiters.begin(), m_waiters.end(), isWaiting); });
  m_waiters.erase(std::remove_if(m_waiters.begin(), m_waiters.end(), isWaiting), m_waiters.end());
  if (held(mutex) != nullptr) {
    acquire(mutex);
  } else {
    m_mutexes.push_back({mutex, self, 1});
  }
  return isNotified;
}

void Scheduler::notifyAll(pthread_cond_t* condition) {
  const TestCode testCode;
  m_waiters.erase(std::remove_if(m_waiters.begin(), m_waiters.end(),
                                 [&](const Waiter& waiter) { return waiter.condition == condition; }),
                  m_waiters.end());
  step("pthread_cond_broadcast");
}

void Scheduler::sleepUntil(Time end) {
  const TestCode testCode;
  waitUntil("sleep", end, NEVER_READY);
}

void Scheduler::fail(const std::string& what) {
  std::printf("\nrun %u of %s: %s\n", m_runs, m_scene.c_str(), what.c_str());
  std::printf("again with: --scene %s --schedule %s\n", m_scene.c_str(), textOf(m_schedule).c_str());
  const std::size_t first = m_trace.size() > SHOWN_STEPS ? m_trace.size() - SHOWN_STEPS : 0;
  std::printf("the last %zu of %zu steps:\n", m_trace.size() - first, m_trace.size());
  for (std::size_t i = first; i < m_trace.size(); i++) {
    std::printf("  %-12s %s\n", m_threads.at(m_trace[i].thread).name.c_str(), m_trace[i].call);
  }
  std::fflush(stdout);
  std::_Exit(1);
}
