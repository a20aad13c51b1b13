#include "poectl/service/queue.h"

#include "poectl/service/queue_readers.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>

namespace {

constexpr mqd_t NONE = -1;
// The service, which may run as a user of its own, writes to it.
constexpr mode_t STATUS_QUEUE_MODE = 0622;

std::string reason() {
  return std::strerror(errno);
}

mqd_t createStatusQueue() {
  mq_attr attributes{};
  attributes.mq_maxmsg = STATUS_QUEUE_MESSAGES;
  attributes.mq_msgsize = sizeof(PoeStatusMessage);
  const mqd_t queue = mq_open(QUEUE_TO_MAIN, O_RDONLY | O_NONBLOCK | O_CREAT | O_EXCL | O_CLOEXEC,
                              STATUS_QUEUE_MODE, &attributes);
  if (queue != NONE) {
    fchmod(queue, STATUS_QUEUE_MODE); // mq_open leaves out what the umask says
    return queue;
  }
  if (errno == EEXIST) {
    throw QueueError(whyQueueExists(QUEUE_TO_MAIN));
  }
  throw QueueError(std::string("cannot create queue ") + QUEUE_TO_MAIN + ": " + reason());
}

} // namespace

StatusQueue::StatusQueue() : m_queue(createStatusQueue()) {}

StatusQueue::~StatusQueue() {
  mq_close(m_queue);
  mq_unlink(QUEUE_TO_MAIN);
}

std::size_t StatusQueue::receive(void* buffer, std::size_t size) {
  const ssize_t length = mq_receive(m_queue, static_cast<char*>(buffer), size, nullptr);
  if (length >= 0) {
    return static_cast<std::size_t>(length);
  }
  if (errno == EAGAIN || errno == EINTR) {
    return 0;
  }
  throw QueueError(std::string("cannot receive from ") + QUEUE_TO_MAIN + ": " + reason());
}

void sendConfig(const PoeConfig& config, const SendWait& wait) {
  const PoeConfigMessage message{MSGID_CONFIG, config};
  const mqd_t queue = mq_open(QUEUE_TO_POE, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
  if (queue == NONE) {
    const char* const hint =
        errno == EACCES ? "; root or the service's user is accepted" : "; is the service running?";
    throw QueueError(std::string("cannot open ") + QUEUE_TO_POE + ": " + reason() + hint);
  }
  pollfd ready[] = {{queue, POLLOUT, 0}, {wait.stop, POLLIN, 0}};
  poll(ready, 2, static_cast<int>(wait.limit.count())); // a queue without room is seen below
  const int result = mq_send(queue, reinterpret_cast<const char*>(&message), sizeof message, 0);
  const std::string why = errno == EAGAIN ? "the service takes no messages, and there is no room" : reason();
  mq_close(queue);
  if (result != 0) {
    throw QueueError(std::string("cannot send on ") + QUEUE_TO_POE + ": " + why);
  }
}

bool queueExists(const char* name) {
  const mqd_t queue = mq_open(name, O_RDONLY | O_CLOEXEC);
  if (queue != NONE) {
    mq_close(queue);
    return true;
  }
  if (errno != ENOENT && errno != EACCES) { // a queue of another user exists
    throw QueueError(std::string("cannot look for queue ") + name + ": " + reason());
  }
  return errno == EACCES;
}

bool removeQueue(const char* name) {
  if (mq_unlink(name) == 0) {
    return true;
  }
  if (errno == ENOENT) {
    return false;
  }
  throw QueueError(std::string("cannot remove queue ") + name + ": " + reason());
}
