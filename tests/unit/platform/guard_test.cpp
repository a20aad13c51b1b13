#include "platform/guard.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <future>
#include <memory>
#include <string>
#include <thread>

#include <unistd.h>

#include <gtest/gtest.h>

namespace {

pthread_mutex_t g_mutex = PTHREAD_RECURSIVE_MUTEX_INITIALIZER_NP;

// Can another thread have the mutex now?
bool isFree() {
  int result = 0;
  std::thread([&result] {
    result = pthread_mutex_trylock(&g_mutex);
    if (result == 0) {
      pthread_mutex_unlock(&g_mutex);
    }
  }).join();
  EXPECT_TRUE(result == 0 || result == EBUSY);
  return result == 0;
}

// Does a thread of this process wait in the kernel?
bool isAsleep(pid_t thread) {
  std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
  std::string name; // without a blank
  std::string number;
  char state = 0;
  file >> number >> name >> state;
  return state == 'S';
}

} // namespace

TEST(Guard, HoldsTheMutexForItsScope) {
  {
    const Guard guard(&g_mutex);
    EXPECT_FALSE(isFree());
  }
  EXPECT_TRUE(isFree());
}

TEST(Guard, NestsOnARecursiveMutexAndFreesItWithTheOutermost) {
  {
    const Guard outer(&g_mutex);
    {
      const Guard inner(&g_mutex);
      EXPECT_FALSE(isFree());
    }
    EXPECT_FALSE(isFree());
  }
  EXPECT_TRUE(isFree());
}

TEST(Guard, FreesTheMutexWhenAnExceptionLeavesItsScope) {
  try {
    const Guard guard(&g_mutex);
    throw 1;
  } catch (int) {
  }
  EXPECT_TRUE(isFree());
}

namespace {

// A thread that waits for the mutex, which the calling thread holds.
class Waiter {
public:
  Waiter()
      : m_thread([this] {
          m_id = gettid();
          const Guard guard(&g_mutex);
        }) {
    while (m_id == 0 || !isAsleep(m_id)) {
      std::this_thread::yield();
    }
  }
  Waiter(const Waiter&) = delete;
  Waiter& operator=(const Waiter&) = delete;
  ~Waiter() { m_thread.join(); }

private:
  std::atomic<pid_t> m_id{0};
  std::thread m_thread;
};

} // namespace

TEST(Guard, OfAFreeMutexWaitsForNobodyWhoWaitsForAnother) {
  pthread_mutex_t other = PTHREAD_MUTEX_INITIALIZER;
  auto held = std::make_unique<Guard>(&g_mutex);
  auto waiter = std::make_unique<Waiter>();
  std::future<void> second = std::async(std::launch::async, [&other] { const Guard guard(&other); });
  EXPECT_EQ(second.wait_for(std::chrono::seconds(5)), std::future_status::ready);
  held.reset();
  waiter.reset();
}

TEST(Guard, IsHadAtOnceByAThreadThatHasTheRecursiveMutexAlreadyAlsoWithoutAGuard) {
  EXPECT_EXIT(
      {
        alarm(5);
        pthread_mutex_lock(&g_mutex);
        {
          const Waiter waiter;
          { const Guard again(&g_mutex); }
          pthread_mutex_unlock(&g_mutex);
        }
        _exit(0);
      },
      testing::ExitedWithCode(0), "");
}
