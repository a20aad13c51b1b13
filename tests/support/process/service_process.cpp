#include "tests/support/process/service_process.h"

#include "tests/support/process/wait_until.h"

#include <csignal>
#include <fstream>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace {

// poe_card runs a shell that preloads the faults as well and becomes the service.
std::vector<std::string> commandLine(const ServiceOptions& options, const std::string& logFile) {
  std::vector<std::string> line = {"/bin/sh", "-c", "exec \"$@\" >>\"$0\" 2>&1", logFile, POE_CARD};
  if (options.capturesLog) {
    line.insert(line.end(), {"--log", logFile});
  }
  line.insert(line.end(), options.card.begin(), options.card.end());
  std::string script = options.preparation + "LD_PRELOAD=\"" SERVICE_FAULTS ":$LD_PRELOAD\" ";
  for (const auto& [name, value] : options.environment) {
    script += name + "=" + value + " ";
  }
  line.insert(line.end(), {"--", "/bin/sh", "-c", script + "exec " POE_SERVICE});
  return line;
}

int exitStatus(int waitStatus) {
  return WIFEXITED(waitStatus) ? WEXITSTATUS(waitStatus) : -1;
}

} // namespace

ServiceProcess::ServiceProcess(const ServiceOptions& options)
    : m_outputFile(m_folder.write("output", "")), m_command(commandLine(options, m_outputFile)) {}

ServiceProcess::~ServiceProcess() {
  if (isRunning()) {
    interrupt();
  }
  if (::testing::Test::HasFailure()) {
    std::cerr << "the service wrote:\n" << output();
  }
}

std::string ServiceProcess::output() const {
  return m_folder.read("output");
}

bool ServiceProcess::waitForOutput(const std::string& text) const {
  return waitUntil([&] { return output().find(text) != std::string::npos; });
}

pid_t ServiceProcess::pid() const {
  const std::string parent = std::to_string(m_command.pid());
  pid_t child = -1;
  EXPECT_TRUE(std::ifstream("/proc/" + parent + "/task/" + parent + "/children") >> child);
  return child;
}

bool ServiceProcess::isRunning() {
  return !m_command.ended();
}

int ServiceProcess::interrupt() {
  // A signal that meets the service outside of its receive does nothing, so it is sent again.
  const bool hasEnded = waitUntil([&] {
    m_command.send(SIGTERM);
    return !isRunning();
  });
  if (!hasEnded) {
    ADD_FAILURE() << "the service does not end";
    m_command.send(SIGKILL);
  }
  return exitStatus(m_command.wait());
}

std::optional<int> ServiceProcess::waitForEnd() {
  const bool hasEnded = waitUntil([&] { return !isRunning(); });
  return hasEnded ? std::optional(exitStatus(m_command.wait())) : std::nullopt;
}
