// What poectl says beside its output.
#pragma once

#include <string>

// One line on standard error with the name of the program: an error, a warning or a note.
void printNote(const std::string& line);

// The note before a command uses the chip's bus by itself: what it reads, and how many transfers that takes.
std::string transferNote(const std::string& what, unsigned transfers);
