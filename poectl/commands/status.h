// The command "status": one status message, as text or for a program.
#pragma once

enum class StatusFormat { TEXT, JSON, PROMETHEUS };

// Creates the queue, waits at most 3 s for a status message and prints it. Returns the exit status: 0, or 1
// when none came. Throws QueueError.
int printStatus(StatusFormat format);
