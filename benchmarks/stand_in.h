// The kernel's part in a count of instructions: the calls that a cycle makes, taken over at link time
// (--wrap). They do next to nothing and are the same for every program that is counted, so that what differs
// is the program's own.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

// Called in the place of the sleep between two cycles, with the number of cycles made so far. May be null.
extern void (*standInBetweenCycles)(unsigned cycles);

#ifdef __cplusplus
}
#endif
