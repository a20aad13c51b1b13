#include "poectl/report/card_report.h"

#include "poectl/console/console_client.h"
#include "poectl/console/console_snapshot.h"
#include "poectl/diagnose/diagnosis_text.h"
#include "poectl/host/child_output.h"
#include "poectl/host/visible_text.h"
#include "poectl/status/status_export.h"
#include "poectl/status/timestamp.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <sys/utsname.h>

namespace {

namespace fs = std::filesystem;

constexpr std::size_t MAX_LOG_LINES = 200;
// No Environment and no ExecStart among them.
constexpr const char* UNIT_PROPERTIES = "LoadState,ActiveState,SubState,Result,NRestarts,MainPID,"
                                        "ExecMainStartTimestamp,ExecMainCode,ExecMainStatus,"
                                        "UnitFileState,WatchdogTimestamp";
constexpr std::size_t MAX_NAME = 200; // bytes of an adapter's name

class Writer {
public:
  void section(const std::string& title) { m_report.text += "\n== " + title + "\n\n"; }
  void add(const std::string& text) {
    m_report.text += text + (text.empty() || text.back() == '\n' ? "" : "\n");
  }

  void gap(const std::string& what, const std::string& why) {
    const std::string line = what + ": " + why + "\n";
    m_report.gaps += line;
    add("not available: " + why);
  }

  // The end.
  CardReport finish() {
    section("Not available");
    add(m_report.gaps.empty() ? "nothing is missing" : m_report.gaps);
    return m_report;
  }

private:
  CardReport m_report;
};

void addHead(Writer& writer, const CardLooks& looks) {
  writer.add("Report on the Power-over-Ethernet service, made by 'poectl report' " POE_VERSION " at " +
             isoTime(currentTime()));
  writer.add("It made " + std::to_string(looks.transfers) + " transfers on the chip's bus; at most " +
             std::to_string(MAX_LOOK_TRANSFERS) +
             " are made, none with --no-bus, and none on a bus that fails.");
}

// The output of a program that may be missing.
void addChild(Writer& writer, const std::string& what, const std::vector<std::string>& words) {
  const ChildOutput output = runChild(words);
  writer.add(output.text);
  if (!output.problem.empty()) {
    writer.gap(what, output.problem);
  }
}

template <typename Report>
void addReport(Writer& writer, const SeenReport<Report>& report) {
  if (!report.reply.empty()) {
    writer.add("> " + report.command + "\n" + report.reply);
  }
}

void addConsole(Writer& writer, const CardLooks& looks) {
  if (!looks.free.empty()) {
    addReport(writer, looks.free.back().device);
    for (const SeenReport<ChannelReport>& channel : looks.free.back().channel) {
      addReport(writer, channel);
    }
  }
  if (looks.console != ConsoleState::REPORTS) {
    writer.gap("console", looks.consoleProblem);
  }
  if (looks.bus) {
    addReport(writer, looks.bus->info);
    for (unsigned port = 0; port < POE_PORTS; port++) {
      addReport(writer, looks.bus->first[port]);
      addReport(writer, looks.bus->later[port]);
    }
  }
  if (!looks.whyNoBus.empty()) {
    writer.gap("the console's reports 'info' (with the watchdog) and 'poeport'", looks.whyNoBus);
  }
}

// The status as `poectl status --json` has it, from the replies that are there already.
Snapshot snapshotOf(const CardLooks& looks) {
  ConsoleReplies replies{looks.free.back().device.understood(), {}, {}, {}};
  for (unsigned port = 0; port < POE_PORTS; port++) {
    replies.channels[port] = looks.free.back().channel[port].understood();
  }
  if (looks.bus && !looks.bus->port(POE_PORTS - 1).reply.empty()) {
    replies.info = looks.bus->info.understood();
    replies.ports.emplace();
    for (unsigned port = 0; port < POE_PORTS; port++) {
      (*replies.ports)[port] = looks.bus->port(port).understood();
    }
  }
  Snapshot snapshot = snapshotOf(replies);
  snapshot.begin = looks.begin;
  snapshot.end = looks.end;
  snapshot.names = looks.names;
  return snapshot;
}

void addStatus(Writer& writer, const CardLooks& looks) {
  if (looks.console != ConsoleState::REPORTS) {
    writer.gap("status", looks.consoleProblem);
    return;
  }
  try {
    writer.add(snapshotJson(snapshotOf(looks)));
  } catch (const ConsoleError& error) {
    writer.gap("status", error.what());
  }
}

void addQueues(Writer& writer, const CardLooks& looks) {
  for (const auto& [name, state] :
       {std::pair<const char*, const QueueState&>(QUEUE_TO_POE, looks.configuration),
        std::pair<const char*, const QueueState&>(QUEUE_TO_MAIN, looks.status)}) {
    writer.add(std::string(name) + ": " + state.text());
    if (!state.problem.empty()) {
      writer.gap(name, state.problem);
    }
  }
}

void addAdapters(Writer& writer) {
  std::error_code error;
  std::vector<std::string> lines;
  for (fs::directory_iterator entry("/sys/class/i2c-adapter", error), end; !error && entry != end;
       entry.increment(error)) {
    std::string name;
    std::getline(std::ifstream(entry->path() / "name"), name);
    lines.push_back(entry->path().filename().string() + ": " + visibleLine(name.substr(0, MAX_NAME)));
  }
  if (error) {
    writer.gap("the adapters of /sys/class/i2c-adapter", error.message());
  }
  std::sort(lines.begin(), lines.end());
  for (const std::string& line : lines) {
    writer.add(line);
  }
  struct stat status {};
  if (stat("/dev/i2c-0", &status) != 0) {
    writer.gap("/dev/i2c-0", std::strerror(errno));
    return;
  }
  char mode[16];
  snprintf(mode, sizeof mode, "%04o", static_cast<unsigned>(status.st_mode & 07777U));
  writer.add("/dev/i2c-0: mode " + std::string(mode) + ", user " + std::to_string(status.st_uid) +
             ", group " + std::to_string(status.st_gid));
}

void addKernel(Writer& writer) {
  utsname kernel{};
  uname(&kernel);
  writer.add(std::string(kernel.sysname) + " " + kernel.release + " " + kernel.version + " " +
             kernel.machine);
}

void addLog(Writer& writer, const CardLooks& looks) {
  if (!looks.logProblem.empty()) {
    writer.gap("lines of the log", looks.logProblem);
    return;
  }
  const std::string& text = looks.logText;
  std::size_t start = text.size();
  for (std::size_t lines = 0; start != 0 && lines <= MAX_LOG_LINES; lines++) {
    start = text.rfind('\n', start - 1);
    start = start == std::string::npos ? 0 : start;
  }
  writer.add("the last lines of " + looks.logName + ", at most " + std::to_string(MAX_LOG_LINES) + ":");
  writer.add(visibleText(text.substr(start == 0 ? 0 : start + 1)));
}

} // namespace

CardReport makeCardReport(const LookOptions& options, const std::function<void(const std::string&)>& say) {
  const CardLooks looks = lookAtCard(options, say);
  Writer writer;
  addHead(writer, looks);
  writer.section("Diagnosis ('poectl diagnose')");
  writer.add(diagnosisText(looks));
  writer.section("Status, from the console");
  addStatus(writer, looks);
  writer.section("Console reports; the watchdog is part of 'info'");
  addConsole(writer, looks);
  writer.section("Queues, and who reads them");
  addQueues(writer, looks);
  writer.section("Packages");
  addChild(writer, "packages", {"dpkg-query", "-W", "poe-service", "poe-tools"});
  writer.section("Unit poe-service");
  addChild(writer, "unit poe-service",
           {"systemctl", "show", "poe-service", "--no-pager", "-p", UNIT_PROPERTIES});
  writer.section("I2C adapters");
  addAdapters(writer);
  writer.section("Kernel");
  addKernel(writer);
  writer.section("Log");
  addLog(writer, looks);
  return writer.finish();
}
