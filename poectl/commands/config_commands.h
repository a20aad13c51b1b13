// The commands around configuration files: "example", "check", "apply" and "explain".
//
// Each returns the exit status and throws InputError for a file that is refused; nothing is printed or sent
// then.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// Prints the example file.
int printExample();

// Prints what the service does with a configuration.
int checkFile(const std::string& path);

// Sends a configuration to the service. Throws QueueError.
int applyFile(const std::string& path);

struct ExplainOptions {
  bool status = false;                    // starts from the running service's bank limit and port states
  std::optional<std::uint32_t> bankLimit; // W; instead of that of bank 0 or of the running service
  std::vector<std::string> ports;         // states that differ from detected good and powered, or from those
};

// Prints what the power-budget audit does with a configuration. Throws PortStateError and,
// for the running service's state, ConsoleError.
int explainFile(const std::string& path, const ExplainOptions& options);
