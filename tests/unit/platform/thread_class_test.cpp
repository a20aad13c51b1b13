#include "platform/thread_class.h"

#include <cstdint>

#include <gtest/gtest.h>
#include <pthread.h>

namespace {

class Worker : public ThreadClass {
public:
  explicit Worker(int result) : m_result(result) {}
  int run() override {
    m_thread = pthread_self();
    return m_result;
  }
  pthread_t thread() const { return m_thread; }

private:
  int m_result;
  pthread_t m_thread{};
};

// Runs the object on a thread of its own and returns the thread's exit value.
std::intptr_t exitValue(ThreadClass* object, pthread_t* thread) {
  EXPECT_EQ(pthread_create(thread, nullptr, ThreadStartup, object), 0);
  void* value = nullptr;
  EXPECT_EQ(pthread_join(*thread, &value), 0);
  return reinterpret_cast<std::intptr_t>(value);
}

} // namespace

TEST(ThreadClass, RunsOnTheCreatedThreadAndItsResultIsTheExitValue) {
  Worker worker(42);
  pthread_t thread{};
  EXPECT_EQ(exitValue(&worker, &thread), 42);
  EXPECT_TRUE(pthread_equal(worker.thread(), thread));
}

TEST(ThreadClass, ANegativeResultKeepsItsSign) {
  Worker worker(-1);
  pthread_t thread{};
  EXPECT_EQ(exitValue(&worker, &thread), -1);
}

TEST(ThreadClass, TheBaseRunPrintsThatItRunsAndReturnsZero) {
  ThreadClass base;
  testing::internal::CaptureStdout();
  EXPECT_EQ(base.run(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "..in run\n");
}
