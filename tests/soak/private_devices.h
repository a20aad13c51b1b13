// A /dev of the test's own, so that it can have its own /dev/log.
#pragma once

#include <string>

// Gives this process and what it starts a /dev with the usual devices and no log socket. Empty when that has
// worked, else why not; the system grants it to root alone.
std::string enterPrivateDevices();

// Mounts a file system of this size, which goes with the process that has called enterPrivateDevices().
void mountSmallDisk(const std::string& directory, const std::string& size);
