// Text that another process has made, as it may be printed.
#pragma once

#include <string>

// Line ends (also CR LF), tabs and printable ASCII stay as they are; every other byte becomes \xNN, so that
// no text can control the terminal that shows it.
std::string visibleText(const std::string& text);

// The same for a text that is to stay in one line: line ends and tabs become \x0A and \x09.
std::string visibleLine(const std::string& text);
