// The file descriptors that the simulated card needs.
#pragma once

// Throws std::runtime_error, one line, unless this process can open as many more descriptors as the simulated
// card needs. Leaves none open. May be called from any thread.
void requireDescriptors();

// Whether `newest`, a descriptor that was just opened, is one of the last, which are kept for the programs
// that open the adapter. May be called from any thread.
bool isOfTheLastDescriptors(int newest);
