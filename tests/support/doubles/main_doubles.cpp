#include "tests/support/doubles/main_doubles.h"

#include "platform/debug_server.h"
#include "tests/support/doubles/posix_doubles.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <mqueue.h>

extern std::uint8_t g_running;

namespace {

MainDoubles* doubles = nullptr;

void note(const std::string& event) {
  doubles->running.push_back(g_running != 0);
  doubles->events.push_back(event);
  if (doubles->onEvent) {
    doubles->onEvent(event);
  }
}

int resultOf(int error) {
  errno = error != 0 ? error : errno;
  return error != 0 ? -1 : 0;
}

} // namespace

MainDoubles::MainDoubles() {
  doubles = this;
}

MainDoubles::~MainDoubles() {
  doubles = nullptr;
}

class Zorvan::CdebugServer::Server {};

Zorvan::CdebugServer::CdebugServer(std::uint16_t port, std::uint32_t bufferSize) noexcept {
  note("server created " + std::to_string(port) + " " + std::to_string(bufferSize));
}

Zorvan::CdebugServer::~CdebugServer() {
  note("server deleted");
}

bool Zorvan::CdebugServer::start() {
  note("server start");
  puts("(server start)");
  return true;
}

void Zorvan::CdebugServer::stop() {
  note("server stop");
}

// The build of the entry's test gives the entry these names for calls that the engine makes as well, since
// the engine's have doubles already.
extern "C" {

mqd_t main_mq_open(const char* name, int flags, ...) {
  va_list arguments;
  va_start(arguments, flags);
  const unsigned mode = va_arg(arguments, unsigned);
  const mq_attr* attributes = va_arg(arguments, mq_attr*);
  va_end(arguments);
  EXPECT_EQ(flags, O_RDONLY | O_CREAT);
  EXPECT_EQ(mode, 0644U);
  EXPECT_EQ(attributes->mq_flags, 0);
  EXPECT_EQ(attributes->mq_maxmsg, 10);
  EXPECT_EQ(attributes->mq_msgsize, 2000);
  EXPECT_EQ(attributes->mq_curmsgs, 0);
  note(std::string("mq_open ") + name);
  errno = doubles->openError;
  return doubles->openError == 0 ? MainDoubles::INBOUND : -1;
}

int main_mq_getattr(mqd_t queue, mq_attr* /*attributes*/) {
  EXPECT_EQ(queue, MainDoubles::INBOUND);
  note("mq_getattr");
  return resultOf(doubles->getattrError);
}

ssize_t __wrap_mq_timedreceive(mqd_t queue, char* buffer, size_t size, unsigned* priority,
                               const timespec* deadline) {
  EXPECT_EQ(queue, MainDoubles::INBOUND);
  EXPECT_EQ(size, 2000U);
  EXPECT_EQ(priority, nullptr);
  EXPECT_EQ(deadline->tv_sec, doubles->deadline.tv_sec);
  EXPECT_EQ(deadline->tv_nsec, doubles->deadline.tv_nsec);
  note("mq_timedreceive");
  if (doubles->receives.empty()) {
    errno = EINTR;
    return -1;
  }
  const Receive receive = doubles->receives.front();
  doubles->receives.erase(doubles->receives.begin());
  if (receive.error != 0) {
    errno = receive.error;
    return -1;
  }
  std::copy(receive.message.begin(), receive.message.end(), buffer);
  return static_cast<ssize_t>(receive.message.size());
}

int main_mq_close(mqd_t queue) {
  note("mq_close " + std::to_string(queue));
  return resultOf(doubles->closeError);
}

int main_mq_unlink(const char* name) {
  note(std::string("mq_unlink ") + name);
  return resultOf(doubles->unlinkError);
}
}
