#include "poectl/service/queue_state.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <mqueue.h>

QueueState queueState(const char* name) {
  QueueState state;
  const mqd_t queue = mq_open(name, O_RDONLY | O_CLOEXEC); // reads nothing: only the attributes are asked for
  if (queue == -1) {
    state.exists = errno != ENOENT;
    state.problem = state.exists ? std::strerror(errno) : "";
  } else {
    mq_attr attributes{};
    mq_getattr(queue, &attributes);
    mq_close(queue);
    state.exists = true;
    state.messages = attributes.mq_curmsgs;
    state.maxMessages = attributes.mq_maxmsg;
  }
  if (state.exists) {
    state.readers = readersOf(name);
  }
  return state;
}

std::string QueueState::text() const {
  if (!exists) {
    return "does not exist";
  }
  const std::string filling =
      problem.empty() ? std::to_string(messages) + " of " + std::to_string(maxMessages) + " messages wait"
                      : "cannot be looked at: " + problem;
  if (isServed()) {
    return filling + ", " + describe(readers.found.front()) + " has it open for reading";
  }
  return filling + (readers.doubt.empty() ? ", nobody reads it"
                                          : ", it cannot be known who reads it: " + readers.doubt);
}
