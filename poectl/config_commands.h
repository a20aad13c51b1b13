// The commands around configuration files: "example", "check" and "apply".
//
// Each returns the exit status and throws ConfigError for a file that is refused; nothing is printed or sent
// then.
#pragma once

#include <string>

// Prints the example file.
int printExample();

// Prints what the service does with a configuration.
int checkFile(const std::string& path);

// Sends a configuration to the service. Throws QueueError.
int applyFile(const std::string& path);
