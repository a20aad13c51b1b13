#include "platform/guard.h"

#include <cerrno>
#include <thread>

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
