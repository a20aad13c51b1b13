// The size of the stacks of threads that the test creates, so that creating one fails.
#pragma once

#include <cstddef>
#include <gtest/gtest.h>
#include <pthread.h>

// New threads of the process get a stack of this size while it exists.
class DefaultStackSize {
public:
  // Three quarters of what an address of 48 or of 32 bits can reach: no thread can be created.
  static constexpr std::size_t TOO_LARGE = std::size_t{3} << (sizeof(std::size_t) > 4 ? 46U : 30U);

  explicit DefaultStackSize(std::size_t size) {
    pthread_getattr_default_np(&m_before);
    pthread_attr_t changed;
    pthread_attr_init(&changed);
    pthread_attr_setstacksize(&changed, size);
    EXPECT_EQ(pthread_setattr_default_np(&changed), 0);
    pthread_attr_destroy(&changed);
  }
  DefaultStackSize(const DefaultStackSize&) = delete;
  DefaultStackSize& operator=(const DefaultStackSize&) = delete;
  ~DefaultStackSize() {
    EXPECT_EQ(pthread_setattr_default_np(&m_before), 0);
    pthread_attr_destroy(&m_before);
  }

private:
  pthread_attr_t m_before{};
};
