// The process entry: creates the process-wide services and the engine, then receives configurations until a
// receive fails, then takes everything down again. A failed step never cuts start-up short: it is remembered,
// the receive loop is left out and the shutdown releases what exists.
#include "diagnostics.h"
#include "pd69104_engine.h"
#include "platform/debug_server.h"
#include "platform/trace_object.h"
#include "platform/watchdog_monitor.h"
#include "poe_messages.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <mqueue.h>
#include <new>
#include <unistd.h>

std::uint8_t g_running = 1; // the receive loop goes on

namespace {

constexpr std::int32_t TRACE_LEVEL = LOG_INFO;
constexpr unsigned WATCHDOG_TIMEOUT = 60000; // ms
constexpr std::uint32_t CONSOLE_BUFFER_SIZE = 8192;
constexpr std::size_t LINE_SIZE = 128; // more than a milestone has
constexpr mode_t QUEUE_MODE = 0644;
constexpr mqd_t NO_QUEUE = -1;

// A descriptor that is opened takes the lowest free number. Without these three the queue or the bus would
// become standard output, and what is printed would go there.
void openStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (fcntl(descriptor, F_GETFD) == -1) {
      open("/dev/null", O_RDWR);
    }
  }
}

void failStartUp(int* exitCode) {
  *exitCode = -1;
  g_running = 0;
}

void createTraceObject() {
  if (g_traceObject == nullptr) {
    g_traceObject = new (std::nothrow) TraceObject("Poe", TRACE_LEVEL);
  }
}

watchdogMonitor* createWatchdog(int* exitCode) {
  auto* watchdog = new (std::nothrow) watchdogMonitor("PoeMain");
  if (watchdog == nullptr) {
    SOFTWARE_ERROR("components/PoeDriver/main", 60, "Failed to create wdmon\n");
    failStartUp(exitCode);
  }
  return watchdog;
}

mqd_t openQueue(int* exitCode) {
  mq_attr attributes{};
  attributes.mq_maxmsg = QUEUE_TO_POE_MESSAGES;
  attributes.mq_msgsize = QUEUE_TO_POE_MESSAGE_SIZE;
  const mqd_t queue = mq_open(QUEUE_TO_POE, O_RDONLY | O_CREAT, QUEUE_MODE, &attributes);
  if (queue == NO_QUEUE) {
    const int error = errno;
    TRACE(LOG_CRIT, "[CRITICAL] main:74 (main) - msg open  failed  %s - %s(%d)\n", QUEUE_TO_POE,
          strerror(error), error);
    failStartUp(exitCode);
    return queue;
  }
  TRACE(LOG_DEBUG, "[DEBUG1] main:79 (main) - listen to queue  %s(%d)\n", QUEUE_TO_POE, queue);
  TRACE(LOG_INFO, "[INFO] main:80 (main) - Card is ready");
  return queue;
}

Zorvan::CdebugServer* startDebugServer(int exitCode) {
  auto* server = new (std::nothrow) Zorvan::CdebugServer(CONSOLE_PORT, CONSOLE_BUFFER_SIZE);
  if (exitCode == 0 && server != nullptr) {
    puts("Now starting debugServer");
    server->start();
  } else {
    g_running = 0;
  }
  return server;
}

CPD69104Engine* startEngine(int exitCode) {
  auto* engine = new (std::nothrow) CPD69104Engine;
  if (exitCode == 0 && engine != nullptr) {
    puts("Now starting pd69104");
    engine->start();
  } else {
    g_running = 0;
  }
  return engine;
}

void handleMessage(CPD69104Engine* engine, const char* message, std::size_t length) {
  std::uint32_t msgId = 0;
  std::memcpy(&msgId, message, sizeof msgId);
  if (msgId == MSGID_CONFIG) {
    engine->handleConfig(message + sizeof msgId, length - sizeof msgId);
  } else {
    // Kept: this spelling.
    TRACE(LOG_ERR, "[ERROR] main:138 (main) - Unkown msgid %d received\n", msgId);
  }
}

// A message shorter than its record leaves the rest of the buffer as it was; the length is not checked.
void receiveMessages(mqd_t queue, watchdogMonitor* watchdog, CPD69104Engine* engine) {
  static char buffer[QUEUE_TO_POE_MESSAGE_SIZE];
  while (g_running != 0) {
    watchdog->wdm_notify(0);
    mq_attr attributes{};
    mq_getattr(queue, &attributes);
    timespec deadline{};
    clock_gettime(CLOCK_REALTIME, &deadline);
    deadline.tv_sec += 1;
    const ssize_t length = mq_timedreceive(queue, buffer, sizeof buffer, nullptr, &deadline);
    if (length == -1) {
      const int error = errno;
      if (error == ETIMEDOUT) {
        continue;
      }
      TRACE(LOG_CRIT, "[CRITICAL] main:126 (main) - msg receive failed mqd=%x - %s\n",
            static_cast<unsigned>(queue), strerror(error));
      break;
    }
    if (length > 0) {
      handleMessage(engine, buffer, static_cast<std::size_t>(length));
    }
  }
}

void deleteTraceObject() {
  delete g_traceObject;
  g_traceObject = nullptr;
}

} // namespace

int main() {
  openStandardDescriptors();
  static char line[LINE_SIZE];
  setvbuf(stdout, line, _IOLBF, sizeof line); // the milestones are seen at once also in a pipe

  int exitCode = 0;
  createTraceObject();
  watchdogMonitor* watchdog = createWatchdog(&exitCode);
  const mqd_t queue = openQueue(&exitCode);
  Zorvan::CdebugServer* server = startDebugServer(exitCode);
  CPD69104Engine* engine = startEngine(exitCode);
  if (watchdog != nullptr) {
    watchdog->wdm_start(WATCHDOG_TIMEOUT);
  }

  receiveMessages(queue, watchdog, engine);

  if (engine != nullptr) {
    engine->stop();
  }
  if (server != nullptr) {
    server->stop();
  }
  delete engine;
  delete server;
  mq_close(queue);
  mq_unlink(QUEUE_TO_POE);
  delete watchdog;
  deleteTraceObject();
  return exitCode;
}
