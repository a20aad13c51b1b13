#include "tests/support/process/main_process.h"

#include "tests/support/process/wait_until.h"

#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

namespace {

constexpr mqd_t NONE = -1;

timespec deadline() {
  timespec time{};
  clock_gettime(CLOCK_REALTIME, &time);
  time.tv_sec += static_cast<time_t>(MAX_WAIT.count());
  return time;
}

} // namespace

MainProcessQueue::MainProcessQueue(long messages) {
  mq_attr attributes{};
  attributes.mq_maxmsg = messages;
  attributes.mq_msgsize = 256; // more than a status message, so that its length is seen
  m_queue = mq_open(QUEUE_TO_MAIN, O_RDWR | O_CREAT | O_EXCL, 0600, &attributes);
  EXPECT_NE(m_queue, NONE) << strerror(errno);
}

MainProcessQueue::~MainProcessQueue() {
  mq_close(m_queue);
  mq_unlink(QUEUE_TO_MAIN);
}

std::vector<char> MainProcessQueue::nextBytes() {
  std::vector<char> bytes(256);
  const timespec end = deadline();
  const ssize_t length = mq_timedreceive(m_queue, bytes.data(), bytes.size(), nullptr, &end);
  EXPECT_GE(length, 0) << strerror(errno);
  bytes.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
  return bytes;
}

PoeStatusMessage MainProcessQueue::next() {
  const std::vector<char> bytes = nextBytes();
  PoeStatusMessage message{};
  EXPECT_EQ(bytes.size(), sizeof message);
  std::memcpy(&message, bytes.data(), std::min(bytes.size(), sizeof message));
  EXPECT_EQ(message.msgId, 17U);
  return message;
}

std::vector<PoeStatus> MainProcessQueue::waiting() {
  const timespec now{};
  std::vector<PoeStatus> statuses;
  char bytes[256];
  while (mq_timedreceive(m_queue, bytes, sizeof bytes, nullptr, &now) == sizeof(PoeStatusMessage)) {
    PoeStatusMessage message{};
    std::memcpy(&message, bytes, sizeof message);
    statuses.push_back(message.status);
  }
  EXPECT_EQ(errno, ETIMEDOUT);
  return statuses;
}

void MainProcessQueue::openToEverybody() {
  EXPECT_EQ(fchmod(m_queue, 0622), 0) << strerror(errno);
}

void MainProcessQueue::fill() {
  const timespec now{};
  while (mq_timedsend(m_queue, "filler", 6, 0, &now) == 0) {
  }
  EXPECT_EQ(errno, ETIMEDOUT);
}

ConfigSender::ConfigSender() : m_queue(mq_open(QUEUE_TO_POE, O_WRONLY)) {
  EXPECT_NE(m_queue, NONE) << strerror(errno);
}

ConfigSender::~ConfigSender() {
  mq_close(m_queue);
}

void ConfigSender::send(const void* bytes, std::size_t length) {
  const timespec end = deadline();
  EXPECT_EQ(mq_timedsend(m_queue, static_cast<const char*>(bytes), length, 0, &end), 0) << strerror(errno);
}

void ConfigSender::send(const PoeConfig& config) {
  const PoeConfigMessage message{MSGID_CONFIG, config};
  send(&message, sizeof message);
}

bool queueExists(const std::string& name) {
  const mqd_t queue = mq_open(name.c_str(), O_RDONLY);
  if (queue == NONE) {
    return false;
  }
  mq_close(queue);
  return true;
}
