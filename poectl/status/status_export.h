// Status messages for programs: JSON and the text format of Prometheus.
#pragma once

#include "components/PoeDriver/poe_messages.h"

#include <string>

// The record under its own field names, with the decoded word beside each code. One JSON object, indented,
// followed by a line end.
std::string statusJson(const PoeStatus& status);

// The same on one line, with the time of receipt (isoTime()) and the message's number in front.
std::string statusJsonLine(const std::string& time, unsigned long number, const PoeStatus& status);

// One metric for each field; those of the ports have the label "port".
std::string statusPrometheus(const PoeStatus& status);
