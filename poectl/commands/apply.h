// How the commands send a configuration.
#pragma once

#include "poectl/service/queue.h"

#include <string>

// Throws QueueError also when the queue is left over from a service that was killed.
void applyConfig(const PoeConfig& config, const SendWait& wait = {});

// Says on standard error that a main process runs, which undoes what was sent, and where to change it
// instead; nothing when there is none. Returns whether one runs or may run.
bool printMainProcessNote();

// "the main process, process 812 (name),", or without the process when it cannot be seen.
std::string mainProcess();
