// The listening sockets of the debug console.
#pragma once

#include <cstdint>

#include "posix/file_descriptor.h"

namespace Zorvan {

// A listening socket on the loopback address of the family (AF_INET or AF_INET6), not blocking. When it
// cannot be had, the result is not open and a line at LOG_ERR says why; a machine without IPv6 is no reason
// for a line.
FileDescriptor listenOnLoopback(int family, std::uint16_t port);

} // namespace Zorvan
