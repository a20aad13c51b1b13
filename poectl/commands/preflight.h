// The commands "preflight" and "clean": is the machine free for a service, and the removal of what a killed
// one left.
#pragma once

// Looks whether a queue of either name exists and whether the console's port is taken. Returns 0 when nothing
// is in the way, else 1 after one line on standard error.
int preflight();

// Removes each of the two queues that nobody serves, and says which it removed; says on standard error which
// it left and why. `force` removes both whoever serves them: a service that is cut off takes no configuration
// until it is started again. Returns 0, or 1 when it left one. Throws QueueError.
int clean(bool force);
