// The words of the debug console that poectl knows.
#pragma once

#include <array>
#include <string>
#include <vector>

constexpr const char* CONSOLE_ENGINE = "PD69104Engine";

constexpr std::array<const char*, 7> CONSOLE_ENGINE_COMMANDS = {"help",    "info",     "device", "channel",
                                                                "poeport", "writeReg", "readReg"};

constexpr std::array<const char*, 4> CONSOLE_CHANNELS = {"0", "1", "2", "3"};

// What may follow these words of a console command.
std::vector<std::string> consoleCandidates(std::vector<std::string> words);
