#include "platform/thread_class.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <thread>

#include <gtest/gtest.h>
#include <malloc.h>
#include <pthread.h>

#include "platform/host/thread_stack.h"

namespace {

// The access rights of the memory at an address, as in "rw-p".
std::string accessAt(std::uintptr_t address) {
  std::ifstream maps("/proc/self/maps");
  for (std::string line; std::getline(maps, line);) {
    std::size_t dash = 0;
    const unsigned long long begin = std::stoull(line, &dash, 16);
    std::size_t length = 0;
    const unsigned long long end = std::stoull(line.substr(dash + 1), &length, 16);
    if (address >= begin && address < end) {
      return line.substr(dash + 1 + length + 1, 4);
    }
  }
  return "nothing";
}

struct Stack {
  std::size_t size;
  std::string lowest; // access to its lowest byte
  std::string below;  // access to the byte below
};

Stack stackOfThisThread() {
  pthread_attr_t attributes;
  EXPECT_EQ(pthread_getattr_np(pthread_self(), &attributes), 0);
  void* begin = nullptr;
  std::size_t size = 0;
  pthread_attr_getstack(&attributes, &begin, &size);
  pthread_attr_destroy(&attributes);
  const auto address = reinterpret_cast<std::uintptr_t>(begin);
  return {size, accessAt(address), accessAt(address - 1)};
}

class StackReader : public ThreadClass {
public:
  int run() override {
    m_stack = stackOfThisThread();
    return 0;
  }
  const Stack& stack() const { return m_stack; }

private:
  Stack m_stack{};
};

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
  for (const int result : {42, -1}) {
    Worker worker(result);
    pthread_t thread{};
    EXPECT_EQ(exitValue(&worker, &thread), result);
    EXPECT_TRUE(pthread_equal(worker.thread(), thread));
  }
}

TEST(ThreadClass, TheBaseRunPrintsThatItRunsAndReturnsZero) {
  ThreadClass base;
  testing::internal::CaptureStdout();
  EXPECT_EQ(base.run(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "..in run\n");
}

// Sanitizers add to the size what they keep for a thread.
TEST(ThreadClass, AThreadWithDefaultAttributesHasAStackOfTheKnownSizeWithAGuardBelowIt) {
  pthread_attr_t attributes;
  ASSERT_EQ(pthread_getattr_default_np(&attributes), 0);
  std::size_t size = 0;
  pthread_attr_getstacksize(&attributes, &size);
  pthread_attr_destroy(&attributes);
  EXPECT_EQ(size, THREAD_STACK_SIZE);

  StackReader byOwner;
  pthread_t thread{};
  exitValue(&byOwner, &thread);
  StackReader byLibrary;
  std::thread([&] { byLibrary.run(); }).join();
  for (const StackReader* reader : {&byOwner, &byLibrary}) {
    EXPECT_GE(reader->stack().size, THREAD_STACK_SIZE);
    EXPECT_LT(reader->stack().size, 8 * THREAD_STACK_SIZE);
    EXPECT_EQ(reader->stack().lowest, "rw-p");
    EXPECT_EQ(reader->stack().below, "---p");
  }
}

TEST(ThreadClass, AThreadAllocatesFromTheHeapOfTheProcess) {
  std::thread([] {
    void* volatile block = std::malloc(100);
    std::free(block);
  }).join();
  char* text = nullptr;
  std::size_t size = 0;
  std::FILE* stream = open_memstream(&text, &size);
  EXPECT_EQ(malloc_info(0, stream), 0);
  std::fclose(stream);
  EXPECT_EQ(std::string(text).find("<heap nr=\"1\">"), std::string::npos) << text;
  std::free(text);
}
