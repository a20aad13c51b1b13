// The real service, unmodified, running on the simulated card.
#pragma once

#include "tests/support/process/started_command.h"
#include "tests/support/process/temporary_directory.h"

#include <optional>
#include <string>
#include <sys/types.h>
#include <vector>

struct ServiceOptions {
  std::vector<std::string> card;                                // options of poe_card
  std::vector<std::pair<std::string, std::string>> environment; // added to the service's
  std::string preparation = {}; // of the shell that becomes the service: commands that it runs before
  bool capturesLog = true;      // false: the service's log goes to /dev/log and not into the output
};

class ServiceProcess {
public:
  explicit ServiceProcess(const ServiceOptions& options = {});
  ServiceProcess(const ServiceProcess&) = delete;
  ServiceProcess& operator=(const ServiceProcess&) = delete;
  ~ServiceProcess(); // ends the service

  // What the service has written so far, the log's lines and its standard output in the order of writing.
  // Each line of the log starts with its priority, as in "<6> ".
  std::string output() const;

  // The file that holds it.
  const std::string& outputFile() const { return m_outputFile; }

  // Waits until the output contains `text`. False when it does not come.
  bool waitForOutput(const std::string& text) const;

  // Whether the service runs.
  bool isRunning();

  // The service's own process, which poe_card has started.
  pid_t pid() const;

  // Sends SIGTERM, which interrupts the service's receive, until the service has ended. Returns its exit
  // status.
  int interrupt();

  // Waits for the service to end by itself. Returns its exit status, nothing when it goes on.
  std::optional<int> waitForEnd();

private:
  const TemporaryDirectory m_folder;
  const std::string m_outputFile;
  StartedCommand m_command; // poe_card
};
