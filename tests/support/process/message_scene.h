// One scene whose two messages are known byte for byte, in the byte order of this machine: what the main
// process sends, what the chip then shows, and what the service reports of it. The bytes are literals, not
// made from the records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

// The configuration: bank 0 100 W, bank 2 85 W, bank 5 200 W; port 0 on, priority 1, 15 W; port 1 on,
// priority 2, 30 W; port 2 off, priority 3, 15 W; port 3 on, priority 3, 15 W.
std::vector<std::uint8_t> sceneConfigMessage();

// The same with a limit of 20 W for port 1.
std::vector<std::uint8_t> sceneConfigMessageWithPort1At20Watts();

// The registers of the chip: bank 2 is active; every port has a state, a class and counts of its own.
extern const std::map<std::uint8_t, std::uint8_t> SCENE_REGISTERS;

// The status message that tells of these registers when the counters were zero before.
std::vector<std::uint8_t> sceneStatusMessage();

// Bytes as text, one word to a line, so that a difference is found.
std::string wordsOf(const std::vector<std::uint8_t>& bytes);
