// What the debug console's registry has to know about the Guards of the calling thread: whether it holds any,
// and when it has let go of the last one. All of it is about the calling thread only and needs no lock.
#pragma once

// True while the calling thread holds at least one Guard.
bool threadHoldsGuard();

// Calls `action` once, on the calling thread, right after that thread has released the last Guard that it
// holds now. Only for a thread that holds one. There is room for one action: a second call replaces the
// first.
void atLastGuardRelease(void (*action)());
