// A plot as the program gnuplot draws it.
#pragma once

#include "poectl/record/plot_data.h"

#include <string>

// Commands and data for the standard input of gnuplot, which writes an SVG picture of three panels to its
// standard output: the consumption, the states and the events of each port. `title` is any text. There must
// be a record.
std::string plotScript(const PlotData& data, const std::string& title);
