// Configurations as TOML files.
//
// [banks] holds bank0 to bank7 in W; bank0 must be there, the others are 0 when they are not. [port.0] to
// [port.3] must all be there, each with enable (true or false), priority (1 to 3) and limit (0 to 40000 mW).
// Nothing else is accepted.
#pragma once

#include "components/PoeDriver/poe_messages.h"
#include "poectl/config/input_file.h"

#include <string>

// The text is one line: FILE:LINE:COLUMN: what was wrong; what is accepted.
class ConfigError : public InputError {
public:
  using InputError::InputError;
};

// The record for the text of a file; `name` stands for the file in the errors. Throws ConfigError.
PoeConfig parseConfig(const std::string& text, const std::string& name);

// The record for a file, or for standard input when the path is "-". Throws InputError.
PoeConfig readConfig(const std::string& path);
