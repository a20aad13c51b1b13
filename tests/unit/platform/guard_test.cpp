#include "platform/guard.h"

#include <atomic>
#include <cerrno>
#include <fstream>
#include <memory>
#include <string>
#include <thread>

#include <unistd.h>

#include <gtest/gtest.h>

#include "platform/host/guard_release.h"

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

int g_releases = 0;
bool g_wasFree = false;

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

TEST(Guard, IsHadByAThreadThatWaitsBeforeByOneThatWantsItAgain) {
  for (int round = 0; round < 20; round++) {
    std::atomic<pid_t> waiting{0};
    bool had = false; // under the mutex
    auto first = std::make_unique<Guard>(&g_mutex);
    std::thread waiter([&] {
      waiting = gettid();
      const Guard guard(&g_mutex);
      had = true;
    });
    while (waiting == 0 || !isAsleep(waiting)) {
      std::this_thread::yield();
    }
    first.reset();
    {
      const Guard again(&g_mutex);
      EXPECT_TRUE(had) << "round " << round;
    }
    waiter.join();
  }
}

TEST(Guard, FreesTheMutexWhenAnExceptionLeavesItsScope) {
  try {
    const Guard guard(&g_mutex);
    throw 1;
  } catch (int) {
  }
  EXPECT_TRUE(isFree());
}

TEST(Guard, KnowsWhetherTheCallingThreadHoldsOne) {
  EXPECT_FALSE(threadHoldsGuard());
  const Guard guard(&g_mutex);
  EXPECT_TRUE(threadHoldsGuard());
  std::thread([] { EXPECT_FALSE(threadHoldsGuard()); }).join();
}

TEST(Guard, RunsTheReleaseActionOnceAfterTheLastOneAndWithTheMutexFree) {
  g_releases = 0;
  g_wasFree = false;
  {
    const Guard outer(&g_mutex);
    {
      const Guard inner(&g_mutex);
      atLastGuardRelease([] {
        ++g_releases;
        g_wasFree = isFree();
      });
    }
    EXPECT_EQ(g_releases, 0);
  }
  EXPECT_EQ(g_releases, 1);
  EXPECT_TRUE(g_wasFree);
  { const Guard again(&g_mutex); }
  EXPECT_EQ(g_releases, 1);
}
