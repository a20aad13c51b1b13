// The calls of the service in a run, and those of the C++ library, go to the scheduler and the environment;
// those of the tests go to the C library.
#include "tests/schedules/environment.h"
#include "tests/schedules/scheduler.h"

#include "platform/thread_class.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <linux/i2c-dev.h>
#include <mqueue.h>
#include <sys/eventfd.h>
#include <sys/socket.h>

namespace {

constexpr Scheduler::Time START = 1000; // s; what both clocks show at the start of a run

bool isService() {
  return Scheduler::isServiceRunning();
}

Scheduler::Time timeFrom(const timespec& time) {
  return (static_cast<Scheduler::Time>(time.tv_sec) - START) * Scheduler::SECOND +
         static_cast<Scheduler::Time>(time.tv_nsec);
}

// The engine's worker names itself; a console has made an event descriptor.
const char* g_nextThread = "supervisor";

} // namespace

extern "C" {

int __real_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                          void* argument);
int __real_pthread_join(pthread_t thread, void** result);
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
int __real_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex);
int __real_pthread_cond_broadcast(pthread_cond_t* condition);
int __real_clock_gettime(clockid_t clock, timespec* time);
int __real_ioctl(int descriptor, unsigned long request, ...);
int __real_close(int descriptor);
int __real_puts(const char* text);

int __wrap_pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*routine)(void*),
                          void* argument) {
  if (!isService()) {
    return __real_pthread_create(thread, attributes, routine, argument);
  }
  const char* const name = routine == ThreadStartup ? "worker" : g_nextThread;
  g_nextThread = routine == ThreadStartup ? g_nextThread : "supervisor";
  return scheduler().create(thread, routine, argument, name);
}

int __wrap_pthread_join(pthread_t thread, void** result) {
  return isService() ? scheduler().join(thread, result) : __real_pthread_join(thread, result);
}

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex) {
  if (!isService()) {
    return __real_pthread_mutex_lock(mutex);
  }
  scheduler().lock(mutex);
  return 0;
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex) {
  if (!isService()) {
    return __real_pthread_mutex_unlock(mutex);
  }
  scheduler().unlock(mutex);
  return 0;
}

int __wrap_pthread_cond_wait(pthread_cond_t* condition, pthread_mutex_t* mutex) {
  if (!isService()) {
    return __real_pthread_cond_wait(condition, mutex);
  }
  scheduler().wait(condition, mutex, Scheduler::NEVER);
  return 0;
}

int __wrap_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t /*clock*/,
                                  const timespec* end) {
  return scheduler().wait(condition, mutex, timeFrom(*end)) ? 0 : ETIMEDOUT;
}

int __wrap_pthread_cond_broadcast(pthread_cond_t* condition) {
  if (!isService()) {
    return __real_pthread_cond_broadcast(condition);
  }
  scheduler().notifyAll(condition);
  return 0;
}

int __wrap_clock_gettime(clockid_t clock, timespec* time) {
  if (!isService()) {
    return __real_clock_gettime(clock, time);
  }
  time->tv_sec = static_cast<std::time_t>(START + scheduler().now() / Scheduler::SECOND);
  time->tv_nsec = static_cast<long>(scheduler().now() % Scheduler::SECOND);
  return 0;
}

int __wrap_clock_nanosleep(clockid_t /*clock*/, int /*flags*/, const timespec* time, timespec* /*rest*/) {
  scheduler().sleepUntil(timeFrom(*time));
  return 0;
}

int __wrap_nanosleep(const timespec* time, timespec* /*rest*/) {
  scheduler().sleepUntil(scheduler().now() + static_cast<Scheduler::Time>(time->tv_nsec));
  return 0;
}

[[gnu::format(printf, 2, 3)]] void __wrap_syslog(int /*priority*/, const char* format, ...) {
  const TestCode testCode;
  char text[512];
  va_list arguments;
  va_start(arguments, format);
  vsnprintf(text, sizeof text, format, arguments);
  va_end(arguments);
  environment().addLog(text);
}

int __wrap_puts(const char* text) {
  return isService() ? 1 : __real_puts(text);
}

int __wrap_open(const char* path, int /*flags*/, ...) {
  int descriptor = -1;
  {
    const TestCode testCode;
    descriptor = environment().open(path);
  }
  if (environment().onOpenedBus) {
    environment().onOpenedBus();
  }
  return descriptor;
}

int __wrap_close(int descriptor) {
  if (!isService()) {
    return __real_close(descriptor);
  }
  const TestCode testCode;
  return environment().close(descriptor);
}

int __wrap_ioctl(int descriptor, unsigned long request, ...) {
  va_list arguments;
  va_start(arguments, request);
  void* const pointer = va_arg(arguments, void*);
  va_end(arguments);
  if (!isService()) {
    return __real_ioctl(descriptor, request, pointer);
  }
  const TestCode testCode;
  return environment().transfer(descriptor, request == I2C_SMBUS ? pointer : nullptr);
}

mqd_t __wrap_mq_open(const char* name, int /*flags*/, ...) {
  const TestCode testCode;
  return environment().openQueue(name);
}

int __wrap_mq_close(mqd_t queue) {
  const TestCode testCode;
  return environment().close(queue);
}

int __wrap_mq_unlink(const char* name) {
  const TestCode testCode;
  environment().unlinkQueue(name);
  return 0;
}

int __wrap_mq_getattr(mqd_t /*queue*/, mq_attr* /*attributes*/) {
  return 0;
}

ssize_t __wrap_mq_timedreceive(mqd_t /*queue*/, char* buffer, size_t size, unsigned* /*priority*/,
                               const timespec* deadline) {
  const TestCode testCode;
  return environment().receive(buffer, size, timeFrom(*deadline));
}

int __wrap_mq_timedsend(mqd_t /*queue*/, const char* data, size_t length, unsigned /*priority*/,
                        const timespec* /*deadline*/) {
  const TestCode testCode;
  return environment().sendStatus(data, length);
}

int __wrap_socket(int family, int /*type*/, int /*protocol*/) {
  const TestCode testCode;
  return environment().openListener(family);
}

int __wrap_setsockopt(int /*socket*/, int /*level*/, int /*name*/, const void* /*value*/,
                      socklen_t /*size*/) {
  return 0;
}

int __wrap_bind(int /*socket*/, const sockaddr* /*address*/, socklen_t /*size*/) {
  return 0;
}

int __wrap_listen(int /*socket*/, int /*backlog*/) {
  return 0;
}

int __wrap_eventfd(unsigned /*count*/, int /*flags*/) {
  const TestCode testCode;
  g_nextThread = "console";
  return environment().openEvent();
}

int __wrap_eventfd_write(int descriptor, eventfd_t /*value*/) {
  const TestCode testCode;
  environment().writeEvent(descriptor);
  return 0;
}

int __wrap_poll(pollfd* descriptors, nfds_t count, int timeout) {
  const TestCode testCode;
  const Scheduler::Time end =
      timeout < 0 ? Scheduler::NEVER
                  : scheduler().now() + static_cast<Scheduler::Time>(timeout) * (Scheduler::SECOND / 1000);
  return environment().poll(descriptors, count, end);
}

int __wrap_accept4(int socket, sockaddr* /*address*/, socklen_t* /*size*/, int /*flags*/) {
  const TestCode testCode;
  return environment().accept(socket);
}

ssize_t __wrap_recv(int socket, void* buffer, size_t size, int /*flags*/) {
  const TestCode testCode;
  return environment().receiveFrom(socket, static_cast<char*>(buffer), size);
}

ssize_t __wrap_send(int socket, const void* data, size_t size, int /*flags*/) {
  const TestCode testCode;
  return environment().sendTo(socket, static_cast<const char*>(data), size);
}

int __wrap_shutdown(int /*socket*/, int /*how*/) {
  return 0;
}
}
