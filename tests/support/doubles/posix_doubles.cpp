#include "tests/support/doubles/posix_doubles.h"

#include "platform/thread_class.h"
#include "tests/support/doubles/allocation.h"

#include <cerrno>
#include <cstdarg>
#include <cstring>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <mqueue.h>
#include <pthread.h>

namespace {

PosixDoubles* doubles = nullptr;
constexpr pthread_t WORKER = 0x7EAD;

int failWith(int error) {
  errno = error;
  return -1;
}

} // namespace

PosixDoubles::PosixDoubles() {
  doubles = this;
}

PosixDoubles::~PosixDoubles() {
  doubles = nullptr;
}

PoeStatusMessage PosixDoubles::lastMessage() const {
  PoeStatusMessage message{};
  if (messages.empty() || messages.back().size() != sizeof message) {
    ADD_FAILURE() << "no status message was sent";
    return message;
  }
  std::memcpy(&message, messages.back().data(), sizeof message);
  return message;
}

timespec PosixDoubles::deadline() const {
  timespec time = clockError == 0 ? timeOfDay : timespec{};
  time.tv_sec += 1;
  return time;
}

void* PosixDoubles::runThread() {
  return startRoutine(startArgument);
}

extern "C" {

mqd_t __real_mq_open(const char* name, int flags, ...);
int __real_mq_timedsend(mqd_t queue, const char* data, size_t length, unsigned priority,
                        const timespec* deadline);
int __real_mq_close(mqd_t queue);
int __real_clock_gettime(clockid_t clock, timespec* time);
int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                          void* argument);
int __real_pthread_join(pthread_t thread, void** result);

mqd_t __wrap_mq_open(const char* name, int flags, ...) {
  if (doubles == nullptr) {
    return __real_mq_open(name, flags);
  }
  const UncountedAllocations uncounted;
  doubles->calls.push_back(std::string("mq_open ") + name +
                           (flags == O_WRONLY ? " O_WRONLY" : " (other flags)"));
  return doubles->openError != 0 ? failWith(doubles->openError) : PosixDoubles::QUEUE;
}

int __wrap_mq_timedsend(mqd_t queue, const char* data, size_t length, unsigned priority,
                        const timespec* deadline) {
  if (doubles == nullptr) {
    return __real_mq_timedsend(queue, data, length, priority, deadline);
  }
  const UncountedAllocations uncounted;
  EXPECT_EQ(queue, PosixDoubles::QUEUE);
  EXPECT_EQ(priority, 0U);
  EXPECT_EQ(deadline->tv_sec, doubles->deadline().tv_sec);
  EXPECT_EQ(deadline->tv_nsec, doubles->deadline().tv_nsec);
  doubles->calls.push_back("mq_timedsend " + std::to_string(length));
  if (doubles->onSend) {
    doubles->onSend();
  }
  if (doubles->sendError != 0) {
    return failWith(doubles->sendError);
  }
  doubles->messages.emplace_back(data, data + length);
  return 0;
}

int __wrap_mq_close(mqd_t queue) {
  if (doubles == nullptr) {
    return __real_mq_close(queue);
  }
  const UncountedAllocations uncounted;
  EXPECT_EQ(queue, PosixDoubles::QUEUE);
  doubles->calls.emplace_back("mq_close");
  if (doubles->closeError != 0) {
    return failWith(doubles->closeError);
  }
  errno = 0; // a message's text must not depend on what comes after the failure
  return 0;
}

int __wrap_clock_gettime(clockid_t clock, timespec* time) {
  if (doubles == nullptr || clock != CLOCK_REALTIME) {
    return __real_clock_gettime(clock, time);
  }
  if (doubles->clockError != 0) {
    return failWith(doubles->clockError);
  }
  *time = doubles->timeOfDay;
  return 0;
}

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                          void* argument) {
  if (doubles == nullptr || routine != ThreadStartup) { // a test's own thread is a real one
    return __real_pthread_create(thread, attributes, routine, argument);
  }
  EXPECT_EQ(attributes, nullptr);
  doubles->calls.emplace_back("pthread_create");
  *thread = WORKER; // what a failed call leaves here is undefined
  if (doubles->createError == 0) {
    doubles->startRoutine = routine;
    doubles->startArgument = argument;
  }
  return doubles->createError;
}

int __wrap_pthread_join(pthread_t thread, void** result) {
  if (doubles == nullptr || thread != WORKER) {
    return __real_pthread_join(thread, result);
  }
  doubles->calls.emplace_back("pthread_join");
  if (doubles->onJoin) {
    doubles->onJoin();
  }
  return doubles->joinError;
}
}
