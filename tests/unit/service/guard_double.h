// The Guard of the unit tests: locks and unlocks as the host's does, and knows who holds one. All but
// guardsWanted is about the calling thread only.
#pragma once

// True while the calling thread holds at least one Guard.
bool threadHoldsGuard();

// Calls `action` once, on the calling thread, right after that thread has released the last Guard that it
// holds now. Only for a thread that holds one. A second call replaces the first.
void atLastGuardRelease(void (*action)());

// How many threads wait for a Guard.
unsigned guardsWanted();
