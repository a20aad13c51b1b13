// The command "console": the service's debug console for a person or a script.
#pragma once

#include <string>
#include <vector>

// With words, sends them as one command and prints the reply. Without, reads commands: from a person with
// line editing on a terminal, else from standard input, a line each, until its end or "quit". Returns the
// exit status. Throws ConsoleError.
int console(const std::vector<std::string>& words);
