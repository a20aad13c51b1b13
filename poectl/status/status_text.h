// Status messages as text for people.
#pragma once

#include "components/PoeDriver/poe_messages.h"

#include <optional>
#include <string>

// The word for a PoePortStatus::operStatus; "?" for a code that has none.
const char* operStatusWord(std::uint32_t operStatus);

// The class for a PoePortStatus::powerClassification: "0" to "4", "none", "?" for a code that has none.
const char* classWord(std::uint32_t powerClassification);

// The same for narrow columns: "-" for none.
const char* shortClassWord(std::uint32_t powerClassification);

// The word for a PoeStatus::mainOperStatus; "?" for a code that has none.
const char* mainOperStatusWord(std::uint32_t mainOperStatus);

// The word for a PoePortStatus::detectionStatus; "?" for a code that has none.
const char* detectionWord(std::uint32_t detection);

// The code of such a word; nothing for another text.
std::optional<std::uint32_t> detectionOf(const std::string& word);

// One status message as lines: the whole chip first, then a table with a line for each port. The
// administrator's settings are not part of the message; they come from the configuration that was sent, when
// one is known. `number` counts the messages from 1.
std::string statusText(unsigned long number, const PoeStatus& status, const std::optional<PoeConfig>& config);
