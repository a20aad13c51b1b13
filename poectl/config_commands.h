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
  std::optional<std::uint32_t> bankLimit; // W; that of bank 0 when it is not given
  std::vector<std::string> ports;         // states that differ from detected good and powered
};

// Prints what the power-budget audit does with a configuration. Throws PortStateError.
int explainFile(const std::string& path, const ExplainOptions& options);
