#include "tests/schedules/scenes.h"

#include "components/PoeDriver/pd69104_engine.h"
#include "platform/better_sleep.h"
#include "platform/debug_server.h"
#include "platform/host/console/console_command.h"
#include "platform/host/console/debug_registry.h"
#include "platform/watchdog_monitor.h"
#include "tests/schedules/environment.h"
#include "tests/schedules/scheduler.h"
#include "tests/support/doubles/four_ports.h"
#include "tests/support/model/configured_registers.h"

#include <algorithm>
#include <memory>
#include <optional>

int poeServiceMain();
extern std::uint8_t g_running;

namespace {

using Zorvan::ConsoleCommand;
using Zorvan::DebugRegistry;

constexpr std::uint16_t PORT = 10001;
constexpr std::uint32_t BUFFER_SIZE = 8192;

void require(bool isTrue, const std::string& what) {
  if (!isTrue) {
    const TestCode testCode;
    scheduler().fail(what);
  }
}

// A thread of a run beside that of the scene.
class Actor {
public:
  // `isService`: its work is the service's code.
  Actor(const char* name, bool isService, std::function<void()> work)
      : m_isService(isService), m_work(std::move(work)) {
    const TestCode testCode;
    scheduler().create(
        &m_thread,
        [](void* actor) -> void* {
          static_cast<Actor*>(actor)->act();
          return nullptr;
        },
        this, name);
  }
  Actor(const Actor&) = delete;
  Actor& operator=(const Actor&) = delete;
  ~Actor() { join(); }

  void join() {
    if (m_thread != 0) {
      scheduler().join(std::exchange(m_thread, 0), nullptr);
    }
  }

private:
  void act() {
    std::optional<TestCode> testCode;
    if (!m_isService) {
      testCode.emplace();
    }
    m_work();
  }

  bool m_isService;
  std::function<void()> m_work;
  pthread_t m_thread = 0;
};

bool has(const std::string& text, const char* part) {
  return text.find(part) != std::string::npos;
}

// The engine's report is that of a whole engine, or of one whose destruction has begun. The base's handler,
// which writes nothing, answers at the end of the destruction.
void requireWholeReport(const std::string& report, bool isEnding) {
  const bool isConstructed = has(report, "time-out (ms)") && has(report, "PD69104 DRIVER\n");
  const bool isLeaving = has(report, "No watchdog device found\n") && has(report, "No POE device found\n");
  require(has(report, "No such object: PD69104Engine") || isConstructed ||
              (isEnding && (isLeaving || report.empty())),
          "the console meets half an engine: \"" + report + "\"");
}

std::string ask(const char* line) {
  std::vector<char> buffer(BUFFER_SIZE);
  return ConsoleCommand(line).run(buffer);
}

void requireConfigured(const PoeConfig& config) {
  const TestCode testCode;
  const std::string wrong =
      differsFromConfiguration(config, [](unsigned reg) { return environment().registers.at(reg); });
  require(wrong.empty(), "the chip does not hold the configuration: " + wrong);
}

// The log has only lines that begin like one of these.
void requireLog(const std::vector<const char*>& allowed) {
  for (const Environment::LogLine& line : environment().log) {
    const bool isAllowed = std::any_of(allowed.begin(), allowed.end(), [&](const char* start) {
      return line.text.compare(0, std::string(start).size(), start) == 0;
    });
    require(isAllowed, "the log has \"" + line.text + "\"");
  }
}

void awaitStatus(unsigned count) {
  const TestCode testCode;
  environment().awaitStatus(count);
}

constexpr const char* SET_UP = "POE now setting default configuration";
constexpr const char* RECOVERY = "PD69104 POE chip not initialised";

// The whole process: a configuration arrives while the console writes the marker of a chip that has lost its
// own. Then the receive fails.
void wholeService() {
  const PoeConfig config = fourPorts();
  std::string reply;
  Actor client("client", false, [&] {
    const int connection = environment().connect();
    environment().awaitReply(connection);
    environment().send(connection, "PD69104Engine writeReg 0x90 1\n");
    reply = environment().awaitReply(connection);
    environment().hangUp(connection);
  });
  Actor mainProcess("main process", false, [&] {
    environment().awaitStatus(1);
    environment().sendConfiguration(config);
    client.join();
    environment().awaitStatus(static_cast<unsigned>(environment().statuses.size()) + 2);
    environment().interruptService();
  });
  g_running = 1;
  const int status = poeServiceMain();
  mainProcess.join();
  require(status == 0, "the service ends with a status other than 0");
  require(reply == "PD69104Engine: value written ok 0x90:0x1\n\n" ||
              has(reply, "No such object: PD69104Engine"),
          "the console replies \"" + reply + "\"");
  if (!has(reply, "No such object")) {
    requireConfigured(config);
  }
  requireLog({SET_UP, RECOVERY, "[INFO] main:80", "[CRITICAL] main:126 (main) - msg receive failed"});
}

// An engine from its construction to its destruction, beside a console call. The console may call it as soon
// as it is registered.
void constructedEngine() {
  environment().onOpenedBus = [] { DebugRegistry::instance().showConstructed(); };
  bool isEnding = false;
  Actor console("console", true, [&] {
    for (int i = 0; i < 2; i++) {
      const std::string report = ask("PD69104Engine info");
      requireWholeReport(report, isEnding);
    }
  });
  {
    CPD69104Engine engine;
    engine.start();
    engine.stop();
    isEnding = true;
  }
  console.join();
  requireLog({SET_UP, RECOVERY});
}

// Start and stop twice, with a configuration.
void restartedEngine() {
  const PoeConfig config = fourPorts();
  CPD69104Engine engine;
  DebugRegistry::instance().showConstructed();
  engine.start();
  engine.stop();
  const auto sent = static_cast<unsigned>(environment().statuses.size());
  engine.start();
  awaitStatus(sent + 1);
  engine.handleConfig(&config, sizeof config);
  engine.stop();
  requireConfigured(config);
  requireLog({SET_UP, RECOVERY});
}

// A configuration comes while the chip has lost its own.
void lostConfiguration() {
  const PoeConfig config = fourPorts();
  CPD69104Engine engine;
  DebugRegistry::instance().showConstructed();
  engine.start();
  awaitStatus(1);
  Actor console("console", true, [] {
    const std::string reply = ask("PD69104Engine writeReg 0x90 1");
    require(reply == "PD69104Engine: value written ok 0x90:0x1\n\n", "the console replies \"" + reply + "\"");
  });
  engine.handleConfig(&config, sizeof config);
  console.join();
  awaitStatus(static_cast<unsigned>(environment().statuses.size()) + 2);
  engine.stop();
  requireConfigured(config);
  requireLog({SET_UP, RECOVERY});
}

// Answers with its name, after a while. Without members of its own: their end would not wait for the answer.
class Answering : public Zorvan::Cdebugable {
public:
  using Cdebugable::Cdebugable;

  std::uint32_t dbgCommand(std::uint32_t /*argc*/, const char* const* /*argv*/, char* out,
                           std::uint32_t outLen) override {
    {
      const TestCode testCode;
      scheduler().step("(handler)");
    }
    return dbgFind(std::string(), out, outLen);
  }
};

// Longer than what a string holds without memory of its own.
constexpr const char* FIRST = "the_first_object_of_two";
constexpr const char* SECOND = "the_second_object_of_two";

void requireList(const std::string& list) {
  const std::string first = std::string(FIRST) + "\n";
  const std::string second = std::string(SECOND) + "\n";
  require(list == first + second || list == first || list == second || list.empty(),
          "the list is \"" + list + "\"");
}

// Objects that come and go beside two consoles. At the end of an object's destruction the base's handler
// answers, which writes nothing.
void registeredObjects() {
  auto first = std::make_unique<Answering>(FIRST);
  auto second = std::make_unique<Answering>(SECOND);
  DebugRegistry::instance().showConstructed();
  bool isEnding = false;
  Actor asking("asking", true, [&] {
    const std::string reply = ask(FIRST);
    const std::string none = "No such object: " + std::string(FIRST) + "\n";
    if (reply.compare(0, none.size(), none) == 0) {
      requireList(reply.substr(none.size()));
    } else {
      require(reply == FIRST || (isEnding && reply.empty()), "the first object replies \"" + reply + "\"");
    }
  });
  Actor listing("listing", true, [] { requireList(ask("help")); });
  isEnding = true;
  first.reset();
  second.reset();
}

// The server is stopped and started again beside its clients.
void restartedConsole() {
  Answering object(FIRST);
  Zorvan::CdebugServer server(PORT, BUFFER_SIZE);
  const auto visit = [] {
    const int connection = environment().connect();
    if (connection == Environment::NOBODY_LISTENS) {
      return false;
    }
    environment().awaitReply(connection);
    environment().send(connection, std::string(FIRST) + "\n");
    const std::string reply = environment().awaitReply(connection);
    require(reply == FIRST || reply.empty(), "the client gets \"" + reply + "\"");
    environment().hangUp(connection);
    return reply == FIRST;
  };
  server.start();
  Actor early("client", false, [&] { visit(); });
  server.stop();
  server.start();
  bool isServed = false;
  {
    Actor late("second client", false, [&] { isServed = visit(); });
  }
  server.stop();
  require(isServed, "a running server serves nobody");
}

// The lines of one client: not fed and fed again by turns. The result is when it was first reported.
std::optional<Scheduler::Time> requireOrder(const std::string& client) {
  std::optional<Scheduler::Time> first;
  bool isLate = false;
  for (const Environment::LogLine& line : environment().log) {
    if (line.text.compare(0, 16 + client.size() + 1, "watchdog client " + client + " ") == 0) {
      require(has(line.text, "fed again") == isLate, "the log has out of turn: " + line.text);
      isLate = !isLate;
      first = first.value_or(line.time);
    }
  }
  return first;
}

// Two clients, of which the second has the shorter time-out, and both are late.
void lateClients() {
  using Time = Scheduler::Time;
  constexpr Time MILLISECOND = Scheduler::SECOND / 1000;
  Time started = 0;
  Actor other("other client", true, [&] {
    watchdogMonitor client("B");
    started = scheduler().now();
    client.wdm_start(300);
    BetterSleep(0.6);
    client.wdm_notify(0);
  });
  watchdogMonitor client("A");
  client.wdm_start(700);
  BetterSleep(0.9);
  client.wdm_notify(0);
  other.join();
  const std::optional<Time> b = requireOrder("B");
  requireOrder("A");
  require(b && *b <= started + 301 * MILLISECOND + scheduler().delay(), "a late client is reported late");
}

} // namespace

const Scene SCENES[] = {
    {"service", wholeService, true, {1, 1000}, {2, 20000}},
    {"construction", constructedEngine, false, {2, 1000}, {2, 20000}},
    {"restart", restartedEngine, false, {2, 1000}, {2, 20000}},
    {"recovery", lostConfiguration, false, {2, 1000}, {2, 20000}},
    {"registry", registeredObjects, false, {2, 1000}, {3, 20000}},
    {"console", restartedConsole, false, {1, 1000}, {2, 20000}},
    {"watchdog", lateClients, false, {2, 1000}, {2, 20000}},
    {nullptr, nullptr, false, {0, 0}, {0, 0}},
};
