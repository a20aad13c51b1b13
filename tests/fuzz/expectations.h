// What several fuzz targets expect of a text.
#pragma once

#include <string>

// One line of printable ASCII.
void expectOneLine(const std::string& text);

// Nothing, or lines of printable ASCII, each with its end and none empty.
void expectLines(const std::string& text);

// What poectl says of a file "f" that it refuses: one line without control characters,
// "f:LINE:COLUMN: what was wrong; what is accepted", whose place is in the file's text.
void expectRefusal(const std::string& line, const std::string& text);
