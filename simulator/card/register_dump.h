// Register images in the text form of i2cdump, byte by byte:
//
//        0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef
//   00: 00 00 00 00 00 00 00 00 00 00 00 00 64 06 06 06    ............d???
//
// XX is a register that did not answer, blanks one that was not asked for.
#pragma once

#include "simulator/chip/chip_registers.h"

#include <stdexcept>
#include <string>

// What is wrong with a dump, in which line, and what is accepted, in one line.
class RegisterDumpError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};

// All 256 addresses; what the image has no value for is XX.
std::string writeRegisterDump(const RegisterImage& image);

// The heading, then rows of rising addresses, some of which may be left out. The
// characters at the right are not read and may be left out too. Throws
// RegisterDumpError.
RegisterImage readRegisterDump(const std::string& text);
