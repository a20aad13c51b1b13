// The commands "preflight" and "clean": is the machine free for a service, and the removal of what a killed
// one left.
#pragma once

// Looks whether a queue of either name exists and whether the console's port is taken. Returns 0 when nothing
// is in the way, else 1 after one line on standard error.
int preflight();

// Removes the two queues and says which it removed. Returns 0. Throws QueueError.
int clean();
