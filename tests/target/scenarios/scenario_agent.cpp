// Plays scenarios in a machine, as the harness outside asks for them over the second serial port: the service
// and poectl run here, the card is outside. One scenario after the other:
//
//   play FILE [no-adapter]   asked for
//   card WORDS               asks for a command of the card; the answer is its reply, up to an empty line
//   result LINE              a line of 'poectl play'
//   log LINE                 a line that the service gave to syslog
//   output LINE              a line of the service's standard output and error
//   end STATUS STATUS        the exit statuses of 'poectl play' and of the service
//   stop                     asked for: ends
#include "components/PoeDriver/poe_messages.h"
#include "tests/support/process/system_log.h"
#include "tests/target/scenarios/card_proxy.h"
#include "tests/target/scenarios/serial_line.h"
#include "tests/target/support/chip.h"
#include "tests/target/support/program.h"
#include "tests/target/support/time_of_day.h"

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mqueue.h>
#include <sstream>
#include <string>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr char ADAPTER[] = "/dev/i2c-0";
constexpr char HIDDEN_ADAPTER[] = "/dev/hidden-i2c-0";
constexpr char LOG_FILE[] = "/tmp/service.log";
constexpr char CONTROL[] = "/tmp/card.socket";
constexpr int LOOK_AGAIN_MS = 10;

void writeLines(SerialLine& serial, const std::string& kind, const std::string& text) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    serial.write(kind + " " + line);
  }
}

std::string contentsOf(const char* file) {
  std::ostringstream text;
  text << std::ifstream(file).rdbuf();
  return text.str();
}

// The main process is there when its queue is: then the service starts, and not a single message is lost.
bool mainProcessIsThere() {
  const mqd_t queue = mq_open(QUEUE_TO_MAIN, O_WRONLY);
  if (queue != static_cast<mqd_t>(-1)) {
    mq_close(queue);
  }
  return queue != static_cast<mqd_t>(-1);
}

// The time of day while scenarios play, as time_of_day=... on the kernel's command line says: the second
// since 1970 that it passes in the first scenario, or `restless`, forward and back by an hour every 2 s.
class ScenarioClock {
public:
  explicit ScenarioClock(const char* wish) {
    if (wish != nullptr && std::string(wish) != "restless") {
      m_second = std::strtoll(wish, nullptr, 10);
    }
  }

  void startScenario() {
    if (m_second != 0 && !m_started) {
      m_timeOfDay.set(static_cast<std::time_t>(m_second - 5));
    }
    m_started = true;
  }

  void setForwardOrBack() {
    constexpr std::chrono::seconds INTERVAL{2};
    const auto now = std::chrono::steady_clock::now();
    if (m_second == 0 && now - m_last >= INTERVAL) {
      m_timeOfDay.move(std::chrono::hours(m_changes++ % 2 == 0 ? 1 : -1));
      m_last = now;
    }
  }

  // Whether the clock did what was asked for.
  std::string report() const {
    if (m_second == 0) {
      return "set forward and back " + std::to_string(m_changes) + " times";
    }
    return std::string(TimeOfDay::now() > m_second ? "past " : "NOT past ") + std::to_string(m_second);
  }

private:
  TimeOfDay m_timeOfDay;
  std::int64_t m_second = 0;
  bool m_started = false;
  int m_changes = 0;
  std::chrono::steady_clock::time_point m_last;
};

// Whether a thread of the process runs or is in ioctl().
bool mayBeInATransfer(pid_t process) {
  const std::filesystem::path threads = "/proc/" + std::to_string(process) + "/task";
  std::error_code error; // of a process that has ended: it is in no transfer
  for (const auto& thread : std::filesystem::directory_iterator(threads, error)) {
    std::string call;
    std::ifstream(thread.path() / "syscall") >> call;
    if (call == "running" || call == std::to_string(SYS_ioctl)) {
      return true;
    }
  }
  return false;
}

// Ends the service while it sleeps, or after 5 s at any moment: i2c-virtio of Linux 6.1 frees a request whose
// process is killed, and the answer then stops the kernel.
int endInItsSleep(Program& service) {
  for (int attempt = 0; attempt < 5000 && mayBeInATransfer(service.pid()); attempt++) {
    usleep(1000);
  }
  kill(service.pid(), SIGTERM);
  return service.wait();
}

void play(const std::string& file, SerialLine& serial, ScenarioClock& clock) {
  clock.startScenario();
  std::ofstream logFile(LOG_FILE, std::ios::trunc);
  SystemLog log;
  CardProxy card(CONTROL, serial);
  Program player({"/bin/poectl", "play", file, "--control", CONTROL, "--log", LOG_FILE}, [] {
    if (chdir("/scenarios") != 0) {
      std::perror("/scenarios");
    }
  });
  std::unique_ptr<Program> service;
  while (player.isRunning()) {
    card.serve(LOOK_AGAIN_MS);
    clock.setForwardOrBack();
    logFile << log.take() << std::flush;
    if (!service && mainProcessIsThere()) {
      service = std::make_unique<Program>(std::vector<std::string>{"/bin/poe_service"});
    }
  }
  int ended = 0;
  if (service) {
    ended = endInItsSleep(*service);
    writeLines(serial, "output", service->output());
  }
  logFile << log.take() << std::flush;
  writeLines(serial, "result", player.output());
  writeLines(serial, "log", contentsOf(LOG_FILE));
  mq_unlink(QUEUE_TO_POE);
  mq_unlink(QUEUE_TO_MAIN);
  serial.write("end " + std::to_string(player.wait()) + " " + std::to_string(ended));
}

} // namespace

int main() {
  insertVirtioAdapter();
  SerialLine serial("/dev/ttyS1");
  ScenarioClock clock(std::getenv("time_of_day"));
  std::printf("# the machine is ready\n");
  std::fflush(stdout);
  for (std::string line; (line = serial.read()) != "stop";) {
    std::istringstream words(line);
    std::string verb;
    std::string file;
    std::string adapter;
    words >> verb >> file >> adapter;
    if (verb != "play") {
      continue;
    }
    const bool hides = adapter == "no-adapter";
    if (hides) {
      rename(ADAPTER, HIDDEN_ADAPTER);
    }
    play(file, serial, clock);
    if (hides) {
      rename(HIDDEN_ADAPTER, ADAPTER);
    }
  }
  std::printf("# time of day: %s\n", clock.report().c_str());
}
