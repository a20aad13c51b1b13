// What poectl says of a text that it refuses.
#pragma once

#include <string>

// One line without control characters, "f:LINE:COLUMN: what was wrong; what is accepted", whose place is in
// the text.
void expectRefusal(const std::string& line, const std::string& text);
