// The table in the document that tells about it.
//
// It stands between the lines BEGIN and END of power_document.cpp. Each event of the table has a row in
// another table of the document, whose heading begins with "| What happens | Why". All functions throw
// std::runtime_error for a file that cannot be used.
#pragma once

#include "tests/faults/power/trials.h"

#include <string>
#include <vector>

// Puts the table in the place of the one in the document.
void writeTable(const std::string& file, const std::string& table);

// What of the document is not as the trials have come out; empty when it is.
std::string checkDocument(const std::string& file, const std::vector<TriedEvent>& events);
