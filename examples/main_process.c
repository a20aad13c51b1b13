// The main loop of a card's main process: creates /queueToMain, configures the service, follows the status,
// and configures the service again after a restart of the service.
//
// Copy this file and replace fillConfiguration() and showStatus(). C11, POSIX and Linux, where a message
// queue's descriptor is a file descriptor. One thread. SIGINT and SIGTERM end the program with status 0; a
// queue that cannot be created or read ends it with one line and status 1.
#define _POSIX_C_SOURCE 200809L

#include "poe_messages_c.h"

#include <errno.h>
#include <fcntl.h>
#include <mqueue.h>
#include <signal.h>
#include <stdbool.h>
#include <stdio.h>
#include <string.h>
#include <sys/select.h>
#include <sys/stat.h>
#include <time.h>

enum {
  QUEUE_MESSAGES = 10,
  QUEUE_MODE = 0622,       // the service runs as a user of its own, and writes
  RETRY_AFTER_S = 3,       // a status that arrives now shows what was sent this long ago
  SERVICE_IS_SILENT_S = 5, // the service sends a status about once a second
};

static const mqd_t NO_QUEUE = (mqd_t)-1;

static volatile sig_atomic_t stopped = 0;

static void stop(int signal) {
  (void)signal;
  stopped = 1;
}

// The signals stay blocked except in pselect(), so that none arrives just before the wait and goes unnoticed.
static sigset_t handleSignals(void) {
  struct sigaction action = {.sa_handler = stop};
  sigemptyset(&action.sa_mask);
  sigaction(SIGINT, &action, NULL);
  sigaction(SIGTERM, &action, NULL);
  sigset_t blocked;
  sigset_t before;
  sigemptyset(&blocked);
  sigaddset(&blocked, SIGINT);
  sigaddset(&blocked, SIGTERM);
  sigprocmask(SIG_BLOCK, &blocked, &before);
  return before;
}

// Seconds of a clock that nobody sets.
static time_t now(void) {
  struct timespec time;
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time.tv_sec;
}

static void fail(const char* what, const char* queue) {
  fprintf(stderr, "main_process: cannot %s %s: %s\n", what, queue, strerror(errno));
}

// A queue that a killed predecessor left behind has old messages, and perhaps other attributes, so a new one
// replaces it. Only one main process may run on a card, because it would take the queue away from another.
static mqd_t createStatusQueue(void) {
  struct mq_attr attributes = {.mq_maxmsg = QUEUE_MESSAGES, .mq_msgsize = sizeof(PoeStatusMessage)};
  mq_unlink(POE_QUEUE_TO_MAIN);
  const mqd_t queue =
      mq_open(POE_QUEUE_TO_MAIN, O_RDONLY | O_CREAT | O_EXCL | O_NONBLOCK, QUEUE_MODE, &attributes);
  if (queue == NO_QUEUE) {
    fail("create", POE_QUEUE_TO_MAIN);
  } else if (fchmod(queue, QUEUE_MODE) != 0) { // mq_open() takes away what the umask names
    fail("set the mode of", POE_QUEUE_TO_MAIN);
  }
  return queue;
}

static void fillConfiguration(PoeConfig* config) {
  *config = (PoeConfig){0};        // bank 7 must stay 0
  config->bankPowerLimit[0] = 100; // W
  for (unsigned port = 0; port < POE_PORTS; port++) {
    config->port[port].adminEnable = 1;
    config->port[port].priority = port == 0 ? 1 : 2;
    config->port[port].powerLimit = 15400; // mW
  }
}

// Opens the queue each time: a service that restarts makes a new one, and a descriptor of the old one would
// accept messages that nobody reads. False, after one line, if the message is not in the queue.
static bool sendConfiguration(const PoeConfig* config) {
  const PoeConfigMessage message = {.msgId = POE_MSGID_CONFIG, .config = *config};
  const mqd_t queue = mq_open(POE_QUEUE_TO_POE, O_WRONLY | O_NONBLOCK);
  if (queue == NO_QUEUE) {
    fail("open", POE_QUEUE_TO_POE);
    return false;
  }
  const bool sent = mq_send(queue, (const char*)&message, sizeof message, 0) == 0;
  if (!sent) {
    fail("send on", POE_QUEUE_TO_POE); // EAGAIN: the queue is full
  }
  mq_close(queue);
  return sent;
}

// Waits up to one second for a status, then takes all messages that the queue held. They come in the order of
// sending and carry no time: only the last one is new. The counters are totals, so that skipping a status
// loses no event. False without a status, and after an error, which sets `stopped` to -1.
static bool receiveNewest(mqd_t queue, const sigset_t* signals, PoeStatus* status) {
  fd_set ready;
  FD_ZERO(&ready);
  FD_SET(queue, &ready);
  const struct timespec limit = {.tv_sec = 1};
  pselect(queue + 1, &ready, NULL, NULL, &limit, signals);
  bool received = false;
  for (int count = 0; count < QUEUE_MESSAGES; count++) {
    PoeStatusMessage message;
    const ssize_t length = mq_receive(queue, (char*)&message, sizeof message, NULL);
    if (length < 0 && errno != EAGAIN) {
      fail("receive from", POE_QUEUE_TO_MAIN);
      stopped = -1;
    }
    if (length < 0) {
      break;
    }
    if (length == sizeof message && message.msgId == POE_MSGID_STATUS) {
      *status = message.status;
      received = true;
    }
  }
  return received;
}

// Whether the service has stored this configuration, as far as a status shows it: a port is DISABLED if and
// only if the stored configuration switches it off, whatever the chip and the bus do. A service that has just
// started has stored none, and reports every port as DISABLED.
static bool showsConfiguration(const PoeStatus* status, const PoeConfig* config) {
  for (unsigned port = 0; port < POE_PORTS; port++) {
    const bool enabled = config->port[port].adminEnable != 0;
    if (enabled == (status->port[port].operStatus == POE_OPER_DISABLED)) {
      return false;
    }
  }
  return true;
}

static void showStatus(const PoeStatus* status) {
  static const char* const STATES[] = {"?",     "DISABLED", "SEARCHING", "DELIVERINGPOWER",
                                       "FAULT", "TEST",     "OTHERFAULT"};
  static uint32_t shown[POE_PORTS];
  for (unsigned port = 0; port < POE_PORTS; port++) {
    const uint32_t state = status->port[port].operStatus;
    if (state != shown[port]) {
      printf("port %u: %s\n", port, STATES[state < sizeof STATES / sizeof *STATES ? state : 0]);
      shown[port] = state;
    }
  }
}

// Sends the configuration after the first status, and again while a status does not show it. A service that
// has the configuration already writes nothing to the chip, so that sending it again costs nothing.
static void followService(mqd_t queue, const sigset_t* signals, const PoeConfig* config) {
  bool sent = false;
  bool silent = false;
  time_t receivedAt = now();
  time_t triedAt = now() - RETRY_AFTER_S;
  while (stopped == 0) {
    PoeStatus status;
    if (receiveNewest(queue, signals, &status)) {
      receivedAt = now();
      silent = false;
      showStatus(&status);
      if ((!sent || !showsConfiguration(&status, config)) && now() - triedAt >= RETRY_AFTER_S) {
        triedAt = now();
        if (sendConfiguration(config)) {
          puts(sent ? "configuration sent again: the service does not have it" : "configuration sent");
          sent = true;
        }
      }
    } else if (!silent && now() - receivedAt >= SERVICE_IS_SILENT_S) {
      silent = true;
      printf("no status for %d s: is the service running, and may it write to " POE_QUEUE_TO_MAIN "?\n",
             SERVICE_IS_SILENT_S);
    }
  }
}

int main(void) {
  setvbuf(stdout, NULL, _IOLBF, 0);
  const sigset_t signals = handleSignals();
  const mqd_t queue = createStatusQueue();
  if (queue == NO_QUEUE) {
    return 1;
  }
  PoeConfig config;
  fillConfiguration(&config);
  followService(queue, &signals, &config);
  mq_close(queue);
  mq_unlink(POE_QUEUE_TO_MAIN);
  return stopped == 1 ? 0 : 1;
}
