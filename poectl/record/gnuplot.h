// The program gnuplot.
#pragma once

#include <chrono>
#include <stdexcept>
#include <string>

class GnuplotError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// What gnuplot writes to its standard output when it gets this script; it reads no start-up file of the
// user's. Throws GnuplotError when there is no gnuplot, when it refuses the script, or when it has not ended
// after `limit`; it is then killed.
std::string runGnuplot(const std::string& script, std::chrono::milliseconds limit);
