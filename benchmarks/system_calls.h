// The system calls of a program that strace follows.
#pragma once

#include <map>
#include <string>
#include <vector>

// How often each call was made, by its name.
using SystemCalls = std::map<std::string, int>;

// The command line that runs a program under strace, which becomes the child: the program itself is the
// process that is started.
std::vector<std::string> traced(const std::string& program);

// What the program and its threads have called from after the second status message to the `cycles`th after
// it. A test failure when it has sent fewer.
SystemCalls callsOfCycles(int cycles);
