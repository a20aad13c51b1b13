// Which processes serve a message queue.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

struct QueueReader {
  pid_t pid;
  std::string name; // the command's name as the kernel has it
};

// Who has a queue open for reading. A process that only writes to it does not serve it.
struct QueueReaders {
  std::vector<QueueReader> found;
  std::string doubt; // why there may be others, in words for a person; empty when there are none
};

// Looks through the processes of the machine for those that have the queue of this name open, and at the
// console's port for a service that cannot be seen. An ordinary user cannot look into the processes of
// others: only those are doubted that may serve this queue, by their name or because they run as the queue's
// owner. A queue that does not exist has no readers.
QueueReaders readersOf(const char* name);

// Why a queue is in the way: who serves it, or that it is left over and what removes it. One line.
std::string whyQueueExists(const char* name);

// That a main process runs, which undoes what poectl sends. One line; empty when nobody is or may be the main
// process. A command of poectl that only shows the status is none.
std::string mainProcessNote();

// "process 812 (poe_service)".
std::string describe(const QueueReader& reader);
