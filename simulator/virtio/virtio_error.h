// What the virtual machine did against the protocol, in one line.
#pragma once

#include <stdexcept>

class VirtioError : public std::runtime_error {
public:
  using std::runtime_error::runtime_error;
};
